#include "tests/web/support/scanner_process.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace varn::testing {
namespace {

namespace fs = std::filesystem;

constexpr int output_limit_ms = 10000;
constexpr int end_limit_ms = 20000;

} // namespace

TemporaryDirectory::TemporaryDirectory() {
    std::string name = fs::temp_directory_path() / "varn-test-XXXXXX";
    if (!mkdtemp(name.data()))
        throw std::runtime_error("no temporary directory");
    path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

Program::Program(const std::vector<std::string> &arguments) {
    std::vector<char *> argv;
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    pid_ = fork();
    if (pid_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that is killed leaves nothing behind
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        execv(argv[0], argv.data());
        _exit(127);
    }
    close(ends[1]);
    output_ = ends[0];
}

Program::~Program() {
    if (!status_) {
        signal(SIGKILL);
        wait();
    }
    close(output_);
}

void Program::signal(int number) const {
    if (!status_)
        kill(pid_, number);
}

std::optional<std::string> Program::read_line() {
    for (;;) {
        if (const auto end = buffered_.find('\n'); end != std::string::npos) {
            std::string line = buffered_.substr(0, end);
            buffered_.erase(0, end + 1);
            return line;
        }
        pollfd ready = {output_, POLLIN, 0};
        char bytes[4096];
        if (poll(&ready, 1, output_limit_ms) <= 0)
            return std::nullopt;
        const ssize_t n = read(output_, bytes, sizeof bytes);
        if (n <= 0)
            return std::nullopt;
        buffered_.append(bytes, static_cast<std::size_t>(n));
    }
}

std::string Program::read_rest() {
    std::string text;
    while (const auto line = read_line())
        text += *line + '\n';
    return text + std::exchange(buffered_, {});
}

int Program::wait() {
    if (status_)
        return *status_;
    int status = 0;
    pid_t ended = 0;
    eventually([&] { return (ended = waitpid(pid_, &status, WNOHANG)) != 0; }, end_limit_ms);
    if (ended != pid_)
        return -1;
    status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return *status_;
}

ProgramResult run_program(const std::vector<std::string> &arguments) {
    Program program(arguments);
    std::string output = program.read_rest();
    return {program.wait(), std::move(output)};
}

ScannerProcess::ScannerProcess(std::vector<std::string> arguments)
    : arguments_(std::move(arguments)) {
    start();
}

void ScannerProcess::start() {
    std::vector<std::string> command = {VARND_PROGRAM, "--root", root(), "--port", "0"};
    command.insert(command.end(), arguments_.begin(), arguments_.end());
    port_ = 0;
    varnd_.reset();
    varnd_.emplace(command);
    const auto line = varnd_->read_line();
    constexpr std::string_view begin = "ready http://127.0.0.1:";
    if (line && line->starts_with(begin))
        port_ = std::atoi(line->c_str() + begin.size());
    ready_line_ = line.value_or("");
    const auto panel = ready() ? varnd_->read_line() : std::nullopt;
    constexpr std::string_view panel_begin = "front panel: http://127.0.0.1:";
    if (panel && panel->starts_with(panel_begin))
        panel_port_ = std::atoi(panel->c_str() + panel_begin.size());
}

std::string ScannerProcess::url(const std::string &interface) const {
    const auto name = ready_line_.find("/ (" + interface + ")");
    if (name == std::string::npos)
        return {};
    const auto begin = ready_line_.rfind(' ', name) + 1;
    return ready_line_.substr(begin, name - begin);
}

void ScannerProcess::set_link(const std::string &interface, bool up) const {
    const fs::path file = interface == "usb" ? root() / "proc/kob_usbd/connect"
                                             : root() / "sys/class/net" / interface / "carrier";
    std::ofstream(file) << (up ? "1" : "0");
}

pid_t ScannerProcess::engine_pid() const {
    const std::string task = std::to_string(pid());
    for (const auto &thread : fs::directory_iterator("/proc/" + task + "/task")) {
        std::ifstream children(thread.path() / "children");
        pid_t child = 0;
        if (children >> child)
            return child;
    }
    return 0;
}

int ScannerProcess::stop() {
    varnd_->signal(SIGTERM);
    return varnd_->wait();
}

bool ScannerProcess::ctl(const std::vector<std::string> &arguments) const {
    std::vector<std::string> command = {VARNCTL_PROGRAM, "--root", root()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run_program(command).status == 0;
}

bool pause_ms(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    return true;
}

Holdings holdings_of(pid_t pid) {
    Holdings holdings;
    const fs::path process = "/proc/" + std::to_string(pid);
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(process / "fd"))
        ++holdings.descriptors;
    std::ifstream status(process / "status");
    for (std::string word; status >> word;) {
        if (word == "Threads:")
            status >> holdings.threads;
        else if (word == "VmRSS:")
            status >> holdings.resident_kib;
    }
    return holdings;
}

} // namespace varn::testing
