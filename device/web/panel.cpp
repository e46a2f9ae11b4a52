#include "device/web/panel.h"

#include "device/web/authority.h"
#include "device/web/body_reader.h"
#include "device/web/panel_files.h"
#include "device/web/panel_settings.h"

#include <array>
#include <charconv>
#include <civetweb.h>
#include <stdexcept>
#include <unistd.h>

namespace varn::web {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

constexpr char worker_threads[] = "12"; // listeners, and some for the rest
/// Only a write shows that a listener has gone, and only the second one: it keeps its place for
/// twice this time.
constexpr auto heartbeat = 1s;

constexpr char common_fields[] =
    "Content-Security-Policy: default-src 'self'; frame-ancestors 'none'; base-uri 'none'; "
    "form-action 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

bool write_all(mg_connection *connection, std::string_view bytes) {
    return mg_write(connection, bytes.data(), bytes.size()) == static_cast<int>(bytes.size());
}

std::string head_of(int status, std::string_view type, std::optional<std::size_t> length) {
    std::string head = "HTTP/1.1 " + std::to_string(status) + " ";
    head.append(status_text(status)).append("\r\nContent-Type: ").append(type).append("\r\n");
    head.append(common_fields);
    if (length)
        head.append("Content-Length: ").append(std::to_string(*length)).append("\r\n");
    return head + "Connection: close\r\n\r\n";
}

int answer(mg_connection *connection, int status, std::string_view type, std::string_view body) {
    const bool head_only =
        std::string_view(mg_get_request_info(connection)->request_method) == "HEAD";
    std::string bytes = head_of(status, type, body.size());
    if (!head_only)
        bytes += body;
    write_all(connection, bytes);
    return status;
}

int answer(mg_connection *connection, int status) {
    return answer(connection, status, "text/plain; charset=utf-8", status_text(status));
}

std::string_view field(const mg_connection *connection, const char *name) {
    const char *value = mg_get_header(connection, name);
    return value ? value : "";
}

/// What came from strangers need not be text.
std::string whole_text(const json &value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

/// "application/json", with or without parameters.
bool is_json(std::string_view type) {
    return type.substr(0, type.find_first_of("; ")) == "application/json";
}

} // namespace

struct Panel::Callbacks {
    static Panel &panel(const mg_context *context) {
        return *static_cast<Panel *>(mg_get_user_data(context));
    }
    static void *init_thread(const mg_context *context, int) {
        panel(context).threads_.note(true);
        return nullptr;
    }
    static void exit_thread(const mg_context *context, int, void *) {
        panel(context).threads_.note(false);
    }
    static int begin_request(mg_connection *connection) {
        mg_disable_connection_keep_alive(connection);
        return panel(mg_get_context(connection)).handle(connection);
    }
    static int http_error(mg_connection *connection, int status, const char *) {
        answer(connection, status == 411 ? 400 : status);
        return 0;
    }
    static int log_message(const mg_connection *, const char *) { return 1; }
};

Panel::Panel(Device &device, int port, std::vector<std::string> addresses)
    : device_(device), jobs_(device), maintenance_(device), actions_(device, jobs_, maintenance_),
      feed_(device, jobs_, maintenance_, std::move(addresses)) {
    start(port);
}

Panel::~Panel() { stop(); }

void Panel::start(int port) {
    const std::string address = "127.0.0.1:" + std::to_string(port);
    const char *settings[] = {"listening_ports",
                              address.c_str(),
                              "num_threads",
                              worker_threads,
                              "request_timeout_ms",
                              "10000",
                              "max_request_size",
                              "8192",
                              "tcp_nodelay",
                              "1",
                              "decode_url",
                              "no",
                              "enable_auth_domain_check",
                              "no",
                              nullptr};
    mg_callbacks callbacks = {};
    callbacks.init_thread = Callbacks::init_thread;
    callbacks.exit_thread = Callbacks::exit_thread;
    callbacks.begin_request = Callbacks::begin_request;
    callbacks.http_error = Callbacks::http_error;
    callbacks.log_message = Callbacks::log_message;
    mg_init_data init = {};
    init.callbacks = &callbacks;
    init.user_data = this;
    init.configuration_options = settings;
    mg_init_library(MG_FEATURES_DEFAULT);
    context_ = mg_start2(&init, nullptr);
    std::array<mg_server_port, 1> found = {};
    if (!context_ || mg_get_server_ports(context_, 1, found.data()) != 1)
        throw std::runtime_error("cannot serve the panel on " + address);
    port_ = found[0].port;
}

void Panel::stop() {
    if (!context_)
        return;
    feed_.stop();
    threads_.stop(std::exchange(context_, nullptr));
    jobs_.stop();
    mg_exit_library();
}

/// Its own port is part of the name: pages of the scanner's other ports are strangers, too.
bool Panel::is_admitted(const mg_connection *connection) const {
    const char *origin = mg_get_header(connection, "Origin");
    Sender sender;
    sender.host = field(connection, "Host");
    if (origin)
        sender.origin = origin;
    sender.fetch_site = field(connection, "Sec-Fetch-Site");
    sender.fetch_destination = field(connection, "Sec-Fetch-Dest");
    return sender.host.ends_with(":" + std::to_string(port_)) && is_own_request(sender);
}

int Panel::handle(mg_connection *connection) {
    const mg_request_info &info = *mg_get_request_info(connection);
    if (!is_admitted(connection))
        return answer(connection, 403);
    const std::string_view path = info.local_uri_raw ? info.local_uri_raw : "";
    const std::string_view method = info.request_method;
    if (path == "/actions")
        return method == "POST" ? act(connection) : answer(connection, 405);
    if (method != "GET" && method != "HEAD")
        return answer(connection, 405);
    return get(connection, path);
}

int Panel::get(mg_connection *connection, std::string_view path) {
    constexpr std::string_view pages = "/pages/";
    if (const auto file = panel_file(path))
        return answer(connection, 200, file->content_type, file->content);
    if (path == "/state") {
        std::string text;
        device_.run([&] { text = feed_.now(); });
        return answer(connection, 200, "application/json", text);
    }
    if (path == "/settings") {
        std::string text;
        device_.run([&] { text = whole_text(settings_state(device_)); });
        return answer(connection, 200, "application/json", text);
    }
    if (path == "/events")
        return send_events(connection);
    if (path.starts_with(pages))
        return send_page(connection, path.substr(pages.size()));
    return answer(connection, 404);
}

int Panel::act(mg_connection *connection) {
    const mg_request_info &info = *mg_get_request_info(connection);
    if (field(connection, "X-Varn-Panel") != "1" || !is_json(field(connection, "Content-Type")))
        return answer(connection, 403);
    if (info.content_length < 0 || static_cast<std::uint64_t>(info.content_length) > max_body)
        return answer(connection, info.content_length < 0 ? 400 : 413);
    std::string body(static_cast<std::size_t>(info.content_length), '\0');
    for (std::size_t got = 0; got < body.size();) {
        const int n = mg_read(connection, body.data() + got, body.size() - got);
        if (n <= 0)
            return answer(connection, 400);
        got += static_cast<std::size_t>(n);
    }
    PanelAnswer done;
    device_.run([&] { done = actions_.perform(body); });
    feed_.hurry();
    json told = {{"ok", done.status == 200}};
    if (done.status != 200)
        told["error"] = done.error;
    if (done.retry_after_s > 0)
        told["retry_after_s"] = done.retry_after_s;
    return answer(connection, done.status, "application/json", whole_text(told));
}

int Panel::send_events(mg_connection *connection) {
    PanelFeed::Listener listener(feed_);
    if (!listener)
        return answer(connection, 503);
    bool open = write_all(connection, head_of(200, "text/event-stream", std::nullopt));
    std::uint64_t shown = 0;
    while (open && !listener.ended()) {
        const PanelFeed::State state = listener.wait(shown, heartbeat);
        if (state.text && state.number != shown) {
            shown = state.number;
            open = write_all(connection, "event: state\ndata: " + *state.text + "\n\n");
        } else {
            open = write_all(connection, ":\n\n");
        }
    }
    return 200;
}

int Panel::send_page(mg_connection *connection, std::string_view name) {
    std::uint64_t id = 0;
    const auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    if (error != std::errc() || rest != name.data() + name.size())
        return answer(connection, 404);
    const wire::Descriptor file = device_.pages().open(id);
    const off_t size = file ? lseek(file.get(), 0, SEEK_END) : -1;
    if (size < 0 || lseek(file.get(), 0, SEEK_SET) != 0)
        return answer(connection, 404);
    if (!write_all(connection, head_of(200, "image/jpeg", static_cast<std::size_t>(size))))
        return 200;
    std::array<char, 16384> part;
    for (ssize_t n; (n = read(file.get(), part.data(), part.size())) > 0;)
        if (!write_all(connection, {part.data(), static_cast<std::size_t>(n)}))
            break;
    return 200;
}

} // namespace varn::web
