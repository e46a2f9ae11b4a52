/// A socket of the engine that is lent to the library.
#pragma once

#include "device/wire/local_socket.h"

#include <string>

namespace varn::web {

/// The library closes an action socket itself when a write to it fails, and does not say so. Its
/// number may by then belong to another thread's file. A second descriptor of the same socket
/// therefore stays here, and the lent number is closed only while both name one socket.
class EngineSocket {
public:
    EngineSocket() = default;
    /// place     one of device/wire/places.h
    EngineSocket(const std::string &root, const char *place);
    EngineSocket(EngineSocket &&other) noexcept;
    EngineSocket &operator=(EngineSocket &&other) noexcept;
    ~EngineSocket() { close(); }

    explicit operator bool() const { return lent_ > 0; }
    /// The number to lend; never 0, which the library takes for no socket.
    int get() const { return lent_; }
    /// Ends the connection for everybody who waits on it. The number stays taken.
    void hang_up() const;
    void close();

private:
    int lent_ = -1;
    wire::Descriptor identity_;
};

} // namespace varn::web
