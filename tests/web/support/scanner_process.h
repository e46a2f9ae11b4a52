/// A virtual scanner of a test's own: a device tree, a varnd and its engine.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace varn::testing {

/// A directory that goes with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory &) = delete;
    TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
    const std::filesystem::path &path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// A program, its standard output and error in one pipe. Killed with the object.
class Program {
public:
    explicit Program(const std::vector<std::string> &arguments);
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    /// The next line of output; none at its end or after ten seconds.
    std::optional<std::string> read_line();
    std::string read_rest();
    /// Exit status, 128 + signal number; -1 when it does not end within 20 s.
    int wait();

private:
    pid_t pid_ = -1;
    int output_ = -1;
    std::string buffered_;
    std::optional<int> status_;
};

struct ProgramResult {
    int status;
    std::string output;
};
ProgramResult run_program(const std::vector<std::string> &arguments);

class ScannerProcess {
public:
    /// Starts varnd and waits until it is ready; ready() tells whether it got there.
    explicit ScannerProcess(std::vector<std::string> arguments = {});

    bool ready() const { return port_ != 0; }
    int port() const { return port_; }
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    int panel_port() const { return panel_port_; }
    /// Address of an interface: "wlan0", "usb", "https", ...
    std::string url(const std::string &interface) const;
    /// Plugs the link of an interface in or out: "eth0", "wlan0", "wlan1", "usb".
    void set_link(const std::string &interface, bool up) const;
    const std::filesystem::path &root() const { return root_.path(); }
    pid_t pid() const { return varnd_->pid(); }
    /// 0 when there is none.
    pid_t engine_pid() const;
    void signal(int number) const { varnd_->signal(number); }
    /// Ends varnd with SIGTERM; its exit status.
    int stop();
    /// Starts it again on the same tree.
    void start();
    std::string output_rest() { return varnd_->read_rest(); }
    /// The hand of the person at the device; true when it was done.
    bool ctl(const std::vector<std::string> &arguments) const;

private:
    TemporaryDirectory root_;
    std::vector<std::string> arguments_;
    std::optional<Program> varnd_;
    int port_ = 0;
    int panel_port_ = 0;
    std::string ready_line_;
};

/// Polls until `condition` holds or time runs out.
template <typename Condition>
bool eventually(Condition condition, int limit_ms = 10000);

bool pause_ms(int milliseconds);

template <typename Condition>
bool eventually(Condition condition, int limit_ms) {
    for (int waited = 0; waited < limit_ms; waited += 10) {
        if (condition())
            return true;
        pause_ms(10);
    }
    return condition();
}

/// What a process holds.
struct Holdings {
    int descriptors = 0;
    int threads = 0;
    long resident_kib = 0;
};
Holdings holdings_of(pid_t pid);

} // namespace varn::testing
