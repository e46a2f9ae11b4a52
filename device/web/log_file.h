/// Standard output as the library's log.
#pragma once

#include "device/wire/local_socket.h"

#include <string>

namespace varn::web {

/// The library logs to standard output without end. This puts a file there, and a new one when it
/// has grown past its limit; one old file is kept. The program itself speaks on a private copy of
/// the standard output that it was started with.
class LogFile {
public:
    /// path      host path of the file; empty: the log stays on standard output
    explicit LogFile(std::string path);

    /// Writes out what is buffered and starts a new file when it is time. Call it now and then.
    void maintain();
    /// A line on the standard output of the start.
    void say(const std::string &line) const;

private:
    bool open_new();

    const std::string path_;
    wire::Descriptor terminal_;
};

} // namespace varn::web
