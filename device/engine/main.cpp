/// varn-engine: the scan engine of the virtual scanner.
#include "device/engine/action_server.h"
#include "device/engine/control_server.h"
#include "device/engine/files.h"
#include "device/engine/image_server.h"
#include "device/engine/link_server.h"
#include "device/wire/device_root.h"
#include "device/wire/places.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using varn::wire::Descriptor;
namespace engine = varn::engine;
namespace wire = varn::wire;

constexpr char usage[] =
    "usage: varn-engine [--root DIR] [--prctl-parent-death]\n"
    "\n"
    "The scan engine of the virtual scanner. Serves DIR/run/varn until SIGINT or SIGTERM and\n"
    "keeps its state in DIR. Prints \"ready\" once all its sockets listen.\n"
    "\n"
    "  --root DIR             device tree (default %s)\n"
    "  --prctl-parent-death   end when the process that started it ends\n";

struct Options {
    std::string root = wire::default_root;
    bool end_with_parent = false;
    bool help = false;
};

Options parse(int argc, char **argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        if (word == "--root" && i + 1 < argc && *argv[i + 1])
            options.root = argv[++i];
        else if (word == "--prctl-parent-death")
            options.end_with_parent = true;
        else if (word == "--help" || word == "-h")
            options.help = true;
        else
            throw std::runtime_error("cannot make sense of " + std::string(word) +
                                     "; see varn-engine --help");
    }
    options.root = std::filesystem::absolute(options.root).string();
    while (options.root.size() > 1 && options.root.back() == '/')
        options.root.pop_back();
    return options;
}

void end_with_parent() {
    const pid_t parent = getppid();
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) // it ended in between
        raise(SIGTERM);
}

/// Held for the life of the process; the file stays, so that the lock cannot be taken twice.
Descriptor lock_tree(const std::string &root) {
    const std::string run_dir = root + wire::run_dir;
    wire::make_device_root(root);
    std::filesystem::create_directories(run_dir);
    chmod(run_dir.c_str(), 0700);
    const std::string path = root + wire::lock_file;
    Descriptor lock(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock)
        throw std::runtime_error("cannot open " + path + ": " + std::strerror(errno));
    if (flock(lock.get(), LOCK_EX | LOCK_NB) < 0)
        throw std::runtime_error("another engine already serves " + root);
    return lock;
}

sigset_t ending_signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, number);
    return signals;
}

void serve(const std::string &root) {
    engine::Engine device(root);
    const engine::Server actions(root, wire::action_socket, 64,
                                 [&](engine::Client &c) { engine::serve_actions(device, c); });
    const engine::Server images(root, wire::image_socket, 16,
                                [&](engine::Client &c) { engine::serve_images(device, c); });
    const engine::Server controls(root, wire::control_socket, 16,
                                  [&](engine::Client &c) { engine::serve_control(device, c); });
    const engine::Server links(root, wire::link_socket, 32, [&](engine::Client &c) {
        engine::serve_link(device, c, [&] { actions.settle(); });
    });
    std::puts("ready");
    std::fflush(stdout);

    const sigset_t signals = ending_signals();
    const timespec second = {1, 0};
    while (sigtimedwait(&signals, nullptr, &second) < 0)
        device.tick();
}

} // namespace

int main(int argc, char **argv) {
    try {
        const Options options = parse(argc, argv);
        if (options.help) {
            std::printf(usage, wire::default_root);
            return EXIT_SUCCESS;
        }
        const sigset_t signals = ending_signals();
        sigprocmask(SIG_BLOCK, &signals, nullptr); // before any thread: they all inherit it
        std::signal(SIGPIPE, SIG_IGN);
        if (options.end_with_parent)
            end_with_parent();
        const Descriptor lock = lock_tree(options.root);
        serve(options.root);
        engine::release_drawing();
        return EXIT_SUCCESS;
    } catch (const std::exception &error) {
        engine::log_line(error.what());
        return EXIT_FAILURE;
    }
}
