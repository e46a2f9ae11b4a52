/// The panel's state as it changes, for those who listen; and what the panel does by the clock.
#pragma once

#include "device/web/panel_state.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace varn::web {

class PanelFeed {
public:
    static constexpr int max_listeners = 8; ///< each has a thread of the panel's server

    PanelFeed(Device &device, PanelJobs &jobs, PanelMaintenance &maintenance,
              std::vector<std::string> addresses);
    ~PanelFeed();
    PanelFeed(const PanelFeed &) = delete;
    PanelFeed &operator=(const PanelFeed &) = delete;

    struct State {
        std::uint64_t number = 0;
        std::shared_ptr<const std::string> text; ///< JSON on one line; null before the first
    };
    /// The state as it is now.
    std::string now();
    /// Something was done: the next state is not waited for.
    void hurry();
    void stop();

    /// A place among the listeners. While there is one, the state is looked at ten times a second.
    class Listener {
    public:
        explicit Listener(PanelFeed &feed);
        ~Listener();
        Listener(const Listener &) = delete;
        Listener &operator=(const Listener &) = delete;

        explicit operator bool() const { return granted_; }
        /// The state behind the one of that number; the same number when the time is over.
        State wait(std::uint64_t after, std::chrono::milliseconds limit);
        bool ended() const;

    private:
        PanelFeed &feed_;
        const bool granted_;
    };

private:
    bool take_place();
    void watch();

    PanelJobs &jobs_;
    std::mutex state_mutex_; ///< of the gathering
    PanelState state_;

    mutable std::mutex mutex_;
    std::condition_variable changed_; ///< a new state, or the end
    std::condition_variable wanted_;  ///< for the watch
    State published_;
    int listeners_ = 0;
    bool hurry_ = false;
    bool ended_ = false;
    std::thread watch_;
};

} // namespace varn::web
