/// The interrupt channel of the USB interface: what the library sends a USB host goes to those who
/// listen on that interface's port.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace varn::web {

struct UsbInterrupt {
    std::uint64_t number = 0; ///< from 1 on; a gap tells a listener that it was too slow
    std::vector<std::uint8_t> bytes;
};

/// One of them at a time takes the library's interrupts.
class UsbChannel {
public:
    static constexpr std::size_t max_listeners = 4; ///< each has a thread of the server
    static constexpr std::size_t max_queued = 64;   ///< for each listener; then the oldest goes
    static constexpr std::size_t max_bytes = 64;    ///< of an interrupt; the rest is cut off

    /// Registers with the library.
    UsbChannel();
    ~UsbChannel();
    UsbChannel(const UsbChannel &) = delete;
    UsbChannel &operator=(const UsbChannel &) = delete;

    /// A place among the listeners; gets what comes while it lives.
    class Listener {
    public:
        explicit Listener(UsbChannel &channel);
        ~Listener();
        Listener(const Listener &) = delete;
        Listener &operator=(const Listener &) = delete;

        explicit operator bool() const { return queue_ != nullptr; }
        /// The next interrupt; none when the time is over or the channel ends.
        std::optional<UsbInterrupt> wait(std::chrono::milliseconds limit);

    private:
        UsbChannel &channel_;
        std::deque<UsbInterrupt> *queue_; ///< null: there was no place
    };

    bool ended() const;
    /// No listener waits any more.
    void shut_down();

private:
    struct Place {
        bool taken = false;
        std::deque<UsbInterrupt> queue;
    };
    static void take(std::uint8_t *data, std::uint32_t length);
    void deliver(std::span<const std::uint8_t> bytes);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::array<Place, max_listeners> places_;
    std::uint64_t last_number_ = 0;
    bool ended_ = false;
};

} // namespace varn::web
