/// varnd: the web server of the virtual scanner.

#include "device/web/device.h"
#include "device/web/device_tree.h"
#include "device/web/engine_process.h"
#include "device/web/log_file.h"
#include "device/web/panel.h"
#include "device/web/power_cycles.h"
#include "device/web/resource_documents.h"
#include "device/web/resource_map.h"
#include "device/web/server.h"
#include "device/web/time_handlers.h"
#include "device/wire/places.h"
#include "varn/base.h"
#include "varn/events.h"
#include "varn/frame.h"
#include "varn/jobs.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <malloc.h>
#include <memory>
#include <optional>
#include <stdexcept>

namespace {

using namespace varn::web;

constexpr char usage[] =
    "usage: varnd [--root DIR] [--port N] [--address A] [--engine PATH | --no-engine]\n"
    "             [--panel-port N | --no-panel]\n"
    "             [--request-timeout-ms N] [--verbose]\n"
    "       varnd --resources\n"
    "\n"
    "Serves the scanner whose device tree is DIR (default /tmp/varn-scanner). Makes the tree when\n"
    "DIR is empty, starts the scan engine and prints a line that begins with \"ready\" once\n"
    "everything accepts. SIGINT and SIGTERM end it, engine included.\n"
    "\n"
    "  --port N       eth0 on port N (default 8080), wlan0 on N+1, wlan1 on N+2, USB on N+3, "
    "HTTPS\n"
    "                 on N+4; 0 takes a free port for each. Without a link, by the carrier and\n"
    "                 connect files in DIR, a port answers 503\n"
    "  --panel-port N\n"
    "                 the operator's page, on 127.0.0.1 only (default: the port behind HTTPS)\n"
    "  --no-panel     none\n"
    "  --address A    listen on A instead of 127.0.0.1\n"
    "  --engine PATH  this engine instead of varn-engine beside varnd\n"
    "  --no-engine    start none: use the engine that serves DIR, if there is one\n"
    "  --request-timeout-ms N\n"
    "                 time for a request's head, for its body, and for progress of an answer\n"
    "  --verbose      the library's log on standard output instead of DIR/var/log/varn.log\n"
    "  --resources    print the resources as a Markdown table\n";

struct Options {
    std::string root = varn::wire::default_root;
    std::string engine = program_directory() / "varn-engine";
    ServerOptions server;
    int panel_port = -1; ///< -1: behind the ports of the server
    bool panel = true;
    bool verbose = false;
    bool print_resources = false;
};

std::optional<int> number(const char *text, int least, int most) {
    int value = 0;
    const char *end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, value);
    if (error != std::errc() || rest != end || value < least || value > most)
        return std::nullopt;
    return value;
}

/// None after a message on standard error.
std::optional<Options> parse_options(int argc, char **argv) {
    enum {
        root,
        port,
        address,
        engine,
        no_engine,
        panel_port,
        no_panel,
        timeout,
        verbose,
        resources,
        help
    };
    constexpr option long_options[] = {
        {"root", required_argument, nullptr, root},
        {"port", required_argument, nullptr, port},
        {"address", required_argument, nullptr, address},
        {"engine", required_argument, nullptr, engine},
        {"no-engine", no_argument, nullptr, no_engine},
        {"panel-port", required_argument, nullptr, panel_port},
        {"no-panel", no_argument, nullptr, no_panel},
        {"request-timeout-ms", required_argument, nullptr, timeout},
        {"verbose", no_argument, nullptr, verbose},
        {"resources", no_argument, nullptr, resources},
        {"help", no_argument, nullptr, help},
        {nullptr, 0, nullptr, 0},
    };
    Options options;
    const auto bad_value = [&](const char *name) {
        std::fprintf(stderr, "varnd: %s: not a value for %s\n", optarg, name);
        return std::nullopt;
    };
    for (int c; (c = getopt_long(argc, argv, "", long_options, nullptr)) != -1;) {
        switch (c) {
        case root:
            options.root = optarg;
            break;
        case port:
            if (const auto value = number(optarg, 0, 65530))
                options.server.port = *value;
            else
                return bad_value("--port");
            break;
        case address:
            if (!is_valid_host(optarg) || std::strchr(optarg, ':'))
                return bad_value("--address");
            options.server.address = optarg;
            break;
        case engine:
            options.engine = optarg;
            break;
        case no_engine:
            options.engine.clear();
            break;
        case panel_port:
            if (const auto value = number(optarg, 0, 65535))
                options.panel_port = *value;
            else
                return bad_value("--panel-port");
            break;
        case no_panel:
            options.panel = false;
            break;
        case timeout:
            if (const auto value = number(optarg, 100, 3600000))
                options.server.request_timeout_ms = *value;
            else
                return bad_value("--request-timeout-ms");
            break;
        case verbose:
            options.verbose = true;
            break;
        case resources:
            options.print_resources = true;
            break;
        case help:
            std::fputs(usage, stdout);
            std::exit(0);
        default:
            std::fputs(usage, stderr);
            return std::nullopt;
        }
    }
    if (optind != argc) {
        std::fprintf(stderr, "varnd: %s: unexpected\n%s", argv[optind], usage);
        return std::nullopt;
    }
    return options;
}

void print_resources() {
    std::puts(
        "# Resources of the virtual scanner\n\n"
        "Written by `./dev docs` from the map of `varnd`. `{uuid}` stands for an identifier,\n"
        "`{id}` for any other segment. A function is the library's, a path the file of the\n"
        "device tree that answers. Once a password is set, all but `everyone` need the login;\n"
        "until then `owner` is open, and `administrator` is whoever works at this machine.\n");
    std::puts("| Path | Method | Function | Document | Authority |\n|---|---|---|---|---|");
    const auto text = [](std::string_view part) { return std::string(part); };
    const auto code = [](std::string_view part) {
        return part.empty() ? "" : "`" + std::string(part) + "`";
    };
    for (const Resource &row : resource_map())
        std::printf("| %s | %s | %s | %s | %s |\n", code(row.path).c_str(),
                    text(method_name(row.method)).c_str(), code(row.function).c_str(),
                    text(document_of(row.path)).c_str(), text(authority_name(row.who)).c_str());
}

/// Every thread inherits the mask, so the signals wait for serve_until_signal.
sigset_t block_signals() {
    std::signal(SIGPIPE, SIG_IGN);
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&set, signal);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return set;
}

void serve_until_signal(const sigset_t &signals, LogFile &log) {
    constexpr timespec second = {1, 0};
    while (sigtimedwait(&signals, nullptr, &second) < 0)
        log.maintain();
}

/// "ready http://127.0.0.1:8080/ (eth0) http://127.0.0.1:8081/ (wlan0) …"
std::string ready_line(const Server &server, const std::string &address) {
    std::string line = "ready";
    for (const Interface interface : interfaces) {
        line.append(interface == Interface::https ? " https://" : " http://").append(address);
        line.append(":").append(std::to_string(server.port(interface))).append("/ (");
        line.append(interface_name(interface)).append(")");
    }
    return line;
}

/// The device's addresses, as the panel shows them.
std::vector<std::string> addresses_of(const Server &server, const std::string &address) {
    std::vector<std::string> addresses;
    addresses.reserve(interfaces.size());
    for (const Interface interface : interfaces)
        addresses.push_back((interface == Interface::https ? "https://" : "http://") + address +
                            ":" + std::to_string(server.port(interface)) + "/");
    return addresses;
}

/// Null when there is to be none.
std::unique_ptr<Panel> start_panel(const Options &options, Device &device, const Server &server) {
    if (!options.panel)
        return nullptr;
    const int behind = options.server.port == 0 ? 0 : options.server.port + 5;
    const int port = options.panel_port < 0 ? behind : options.panel_port;
    return std::make_unique<Panel>(device, port, addresses_of(server, options.server.address));
}

void run(const Options &options) {
    setenv("TZ", "UTC", 0); // from here on it is only replaced, see follow_time_zone
    const sigset_t signals = block_signals();
    const DeviceTree tree(options.root, startup_content());
    LogFile log(options.verbose ? std::string() : tree.root() + "/var/log/varn.log");
    if (VARN_SetRoot(tree.root().c_str()) != 0)
        throw std::runtime_error(tree.root() + ": the path is too long");
    EngineProcess engine(tree.root(), options.engine);
    VARN_Init(static_cast<std::uint32_t>(engine.link()));

    VARN_Init_jdescQ();
    g_PowerCycle = count_power_cycle(tree.root());
    VARN_SetEventTable(VARN_EVENT_POWER_UP, nullptr);

    Device device(tree.root(), engine.link());
    // On every way out the engine ends before the device that hears of its end.
    const std::unique_ptr<EngineProcess, void (*)(EngineProcess *)> end_engine(
        &engine, [](EngineProcess *running) { running->stop(); });
    if (!engine.start([&device] { device.jobs().engine_lost(); }))
        throw std::runtime_error("the scan engine " + options.engine + " does not come up; see " +
                                 tree.root() + "/var/log/engine.log");
    follow_time_zone();
    Server server(device, options.server);
    const std::unique_ptr<Panel> panel = start_panel(options, device, server);
    log.say(ready_line(server, options.server.address));
    if (panel)
        log.say("front panel: http://127.0.0.1:" + std::to_string(panel->port()) + "/");

    serve_until_signal(signals, log);
    device.jobs().shut_down();
    device.usb_channel().shut_down();
    if (panel)
        panel->stop();
    server.stop();
    engine.stop();
    log.maintain();
}

} // namespace

int main(int argc, char **argv) {
    // A heap for each of the many threads would cost more than the few that call at one time wait.
    mallopt(M_ARENA_MAX, 2);
    try {
        const std::optional<Options> options = parse_options(argc, argv);
        if (!options)
            return 2;
        if (options->print_resources)
            print_resources();
        else
            run(*options);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "varnd: %s\n", error.what());
        return 1;
    }
    return 0;
}
