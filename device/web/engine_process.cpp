#include "device/web/engine_process.h"

#include "device/wire/places.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varn::web {
namespace {

constexpr int start_limit_ms = 10000;
constexpr int connect_step_ms = 10;
constexpr int look_for_engine_ms = 500; ///< when somebody else starts it
constexpr int end_limit_ms = 5000;
constexpr int first_delay_ms = 100;
constexpr int longest_delay_ms = 5000;
constexpr int long_run_ms = 10000; ///< an engine that ran this long is started again at once

/// The child's part between fork and exec: nothing here may allocate or lock.
[[noreturn]] void become_engine(char *const *argv, int log, pid_t parent) {
    // A terminal's Ctrl-C goes to the group: the engine is ended in its turn, after the scan.
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    if (log >= 0)
        dup2(log, STDOUT_FILENO);
    close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);
    execv(argv[0], argv);
    _exit(127);
}

pid_t peer_process(int socket) {
    ucred peer = {};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : -1;
}

std::string describe_end(int status) {
    if (WIFSIGNALED(status))
        return "signal " + std::to_string(WTERMSIG(status));
    return "status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

EngineProcess::EngineProcess(std::string root, std::filesystem::path program)
    : root_(std::move(root)), program_(std::move(program)),
      link_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      stop_event_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!link_ || !stop_event_)
        throw std::runtime_error(std::string("no descriptors left: ") + std::strerror(errno));
}

bool EngineProcess::start(std::function<void()> on_lost) {
    on_lost_ = std::move(on_lost);
    supervisor_ = std::thread(&EngineProcess::supervise, this);
    if (program_.empty())
        return true;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return up_ || failed_; });
    return up_;
}

void EngineProcess::stop() {
    if (!supervisor_.joinable())
        return;
    eventfd_write(stop_event_.get(), 1);
    supervisor_.join();
}

void EngineProcess::set_state(bool up, bool failed) {
    const std::lock_guard lock(mutex_);
    up_ = up_ || up;
    failed_ = failed_ || failed;
    changed_.notify_all();
}

void EngineProcess::supervise() {
    int delay = first_delay_ms;
    Event event = Event::time_out;
    while (event != Event::stop) {
        const std::int64_t began = wire::now_ms();
        if (child_ < 0 && !program_.empty())
            launch();
        if (open_link()) {
            set_state(true, false);
            event = wait(-1, true);
        } else if (!program_.empty() && !up_) {
            set_state(false, true);
            break;
        }
        if (event == Event::stop)
            break;
        // The client side of the link hangs up by itself after an exchange that failed. With a
        // living engine of our own only the link is to be made anew.
        if (event != Event::link_lost || program_.empty()) {
            on_lost_();
            end_child();
        }
        const bool ran_long = wire::now_ms() - began > long_run_ms;
        delay = ran_long ? first_delay_ms : std::min(delay * 2, longest_delay_ms);
        event = wait(program_.empty() ? look_for_engine_ms : delay, false);
    }
    end_child();
}

void EngineProcess::launch() {
    const std::string program = program_;
    char *const argv[] = {const_cast<char *>(program.c_str()), const_cast<char *>("--root"),
                          const_cast<char *>(root_.c_str()), nullptr};
    const wire::Descriptor log(open((root_ + "/var/log/engine.log").c_str(),
                                    O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    const pid_t parent = getpid();
    child_ = fork();
    if (child_ == 0)
        become_engine(argv, log.get(), parent);
    if (child_ < 0) {
        std::fprintf(stderr, "varnd: cannot start %s: %s\n", program.c_str(), std::strerror(errno));
        return;
    }
    child_event_ = wire::Descriptor(static_cast<int>(syscall(SYS_pidfd_open, child_, 0)));
}

/// Asks the child to end, and makes sure of it.
void EngineProcess::end_child() {
    if (child_ < 0)
        return;
    kill(child_, SIGTERM);
    pollfd ended = {child_event_.get(), POLLIN, 0};
    if (poll(&ended, 1, end_limit_ms) <= 0)
        kill(child_, SIGKILL);
    reap_child();
}

void EngineProcess::reap_child() {
    int status = 0;
    while (waitpid(child_, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        std::fprintf(stderr, "varnd: %s ended with %s\n", program_.filename().c_str(),
                     describe_end(status).c_str());
    child_ = -1;
    child_event_.reset();
}

bool EngineProcess::open_link() {
    if (program_.empty())
        return connect_link();
    for (int waited = 0; child_ >= 0 && waited < start_limit_ms; waited += connect_step_ms) {
        if (connect_link())
            return true;
        if (wait(connect_step_ms, false) != Event::time_out)
            return false;
    }
    return false;
}

/// An engine of somebody else that holds the tree is not taken for our own.
bool EngineProcess::connect_link() {
    const wire::Descriptor fresh = wire::connect_local(root_, wire::link_socket);
    if (!fresh || (!program_.empty() && peer_process(fresh.get()) != child_))
        return false;
    return dup3(fresh.get(), link_.get(), O_CLOEXEC) >= 0;
}

EngineProcess::Event EngineProcess::wait(int timeout_ms, bool watch_link) const {
    pollfd events[] = {
        {stop_event_.get(), POLLIN, 0},
        {child_event_.get(), POLLIN, 0}, // a negative descriptor is passed over
        {watch_link ? link_.get() : -1, POLLRDHUP, 0},
    };
    int ready;
    do
        ready = poll(events, std::size(events), timeout_ms);
    while (ready < 0 && errno == EINTR);
    if (events[0].revents != 0)
        return Event::stop;
    if (events[1].revents != 0)
        return Event::child_ended;
    return ready > 0 ? Event::link_lost : Event::time_out;
}

} // namespace varn::web
