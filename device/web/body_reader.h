/// Reading a request's body within bounds of size and time.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace varn::web {

/// How a body was announced.
struct BodyFraming {
    bool chunked = false;
    std::optional<std::uint64_t> length; ///< of Content-Length
};

struct BodyLimits {
    std::size_t size = 0;
    std::chrono::milliseconds time{};
};

/// Reads at most `size` bytes and returns how many; 0 at the end of the body; negative when the
/// framing is broken or the client is gone. Waits for all `size` bytes, each for a limited time.
using ReadBody = std::function<int(char *buffer, std::size_t size)>;

/// Appends the whole body to `body`. 0 done; else the status to refuse with: 413 too large, 408
/// too slow or cut off, 400 broken framing.
int read_body(const ReadBody &read, const BodyFraming &framing, const BodyLimits &limits,
              std::string &body);

/// Reads and drops what a client still sends, so that it gets to see its refusal.
void drop_body(const ReadBody &read, const BodyLimits &limits);

} // namespace varn::web
