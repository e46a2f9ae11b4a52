/// A lean HTTP load: one thread, raw sockets, so that it takes little of the machine that it shares
/// with the server.
#pragma once

#include <chrono>
#include <string>

namespace varn::bench {

struct Load {
    int port = 0;
    std::string path;
    unsigned connections = 1; ///< each has one request on its way at any time
    bool keep_alive = true;   ///< else a new connection for each request
    std::chrono::milliseconds time{300};
};

/// Answers with 200 per second; one with 503 does not count. Throws std::runtime_error on any other
/// answer, one that breaks off, or none within five seconds.
double answers_per_second(const Load &load);

/// One GET on a connection of its own: the body of its 200 answer. Throws without one.
std::string fetch(int port, const std::string &path);

} // namespace varn::bench
