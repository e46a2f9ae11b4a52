/// The scan engine as the web server's child, and the link to it.
#pragma once

#include "device/wire/local_socket.h"

#include <condition_variable>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>

namespace varn::web {

/// Keeps an engine running and the link to it open. The link keeps its descriptor number for
/// life: a new connection is put in the place of the old one.
class EngineProcess {
public:
    /// root      device tree
    /// program   the engine; empty: somebody else runs one, or nobody does
    EngineProcess(std::string root, std::filesystem::path program);
    /// Ends the engine.
    ~EngineProcess() { stop(); }
    EngineProcess(const EngineProcess &) = delete;
    EngineProcess &operator=(const EngineProcess &) = delete;

    /// Descriptor of the link, valid from the start: calls fail while there is no engine.
    int link() const { return link_.get(); }
    /// Begins; returns when the engine accepts, at once without a program. False when it does not
    /// come up.
    /// on_lost   called on a thread of this class whenever the engine has gone
    bool start(std::function<void()> on_lost);
    void stop();

private:
    enum class Event { stop, child_ended, link_lost, time_out };

    void supervise();
    void launch();
    void end_child();
    void reap_child();
    bool open_link();
    bool connect_link();
    Event wait(int timeout_ms, bool watch_link) const;
    void set_state(bool up, bool failed);

    const std::string root_;
    const std::filesystem::path program_;
    wire::Descriptor link_;
    wire::Descriptor stop_event_;
    std::function<void()> on_lost_;

    std::mutex mutex_;
    std::condition_variable changed_;
    bool up_ = false;
    bool failed_ = false; ///< the first engine did not come up

    // Of the supervising thread alone. It is also the one that the child must not outlive, so it
    // stays until the child has ended.
    pid_t child_ = -1;
    wire::Descriptor child_event_; ///< readable once the child has ended
    std::thread supervisor_;
};

} // namespace varn::web
