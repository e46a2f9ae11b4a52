/// The receive thread of a scan, as the start sequence uses it.
#pragma once

#include <cstdint>

namespace varn {

/// Holds a new receive thread between its set-up and its first status write, so that the starter
/// can enter the job in between: neither can then overtake the other, and neither writes the
/// status of the job before.
class StartGate {
public:
    StartGate();
    /// Lets the thread go on, whatever came of the start.
    ~StartGate();
    StartGate(const StartGate &) = delete;
    StartGate &operator=(const StartGate &) = delete;

    /// Waits until the thread has set itself up. Returns at once when there is no thread.
    void wait_until_set_up();
};

} // namespace varn
