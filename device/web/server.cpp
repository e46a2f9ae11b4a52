#include "device/web/server.h"

#include "device/web/authority.h"
#include "device/web/certificate.h"
#include "device/web/request_check.h"
#include "device/web/resource_map.h"

#include <algorithm>
#include <chrono>
#include <civetweb.h>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace varn::web {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr char certificate_file[] = "/etc/varn/https.pem";
constexpr int keep_alive_timeout_ms = 10000;
constexpr BodyLimits drop_limits = {256 * 1024, 1s};
/// A larger body goes out without being copied behind its head.
constexpr std::size_t copy_limit = 64 * 1024;
constexpr std::size_t write_step = 64 * 1024;

constexpr std::string_view server_methods = "DELETE, GET, HEAD, OPTIONS, POST, PUT";

/// False when the client is gone or took nothing for the request time-out. Written in steps, each
/// of which has that time.
bool write_all(mg_connection *connection, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto step = bytes.substr(0, write_step);
        if (mg_write(connection, step.data(), step.size()) != static_cast<int>(step.size()))
            return false;
        bytes.remove_prefix(step.size());
    }
    return true;
}

std::vector<Field> fields_of(const mg_request_info &info) {
    std::vector<Field> fields;
    fields.reserve(static_cast<std::size_t>(info.num_headers));
    for (int i = 0; i < info.num_headers; ++i)
        fields.push_back({info.http_headers[i].name, info.http_headers[i].value});
    return fields;
}

void write_response(mg_connection *connection, const Response &response, bool head_only,
                    bool keep_alive) {
    const std::string_view body = response.body();
    std::string bytes = response_head(response, body.size(), false, keep_alive);
    if (head_only || body.size() > copy_limit) {
        if (write_all(connection, bytes) && !head_only)
            write_all(connection, body);
        return;
    }
    bytes += body;
    write_all(connection, bytes);
}

/// An image that goes out as it comes: in chunks, to old clients until the connection ends.
class ChunkWriter {
public:
    ChunkWriter(mg_connection *connection, bool chunked, bool keep_alive)
        : connection_(connection), chunked_(chunked), keep_alive_(keep_alive) {}

    ImageSink sink() {
        ImageSink sink;
        sink.begin = [this](std::string_view type) { return begin(type); };
        sink.write = [this](std::span<const std::byte> bytes) { return write(bytes); };
        sink.end = [this] { return end(); };
        return sink;
    }
    bool complete() const { return complete_; }

private:
    bool begin(std::string_view type) {
        Response response;
        response.content_type = type;
        return write_all(connection_, response_head(response, std::nullopt, chunked_, keep_alive_));
    }
    bool write(std::span<const std::byte> bytes) {
        const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
        if (!chunked_)
            return write_all(connection_, text);
        char size[24];
        const int n = std::snprintf(size, sizeof size, "%zx\r\n", text.size());
        return write_all(connection_, {size, static_cast<std::size_t>(n)}) &&
               write_all(connection_, text) && write_all(connection_, "\r\n");
    }
    bool end() {
        complete_ = !chunked_ || write_all(connection_, "0\r\n\r\n");
        return complete_;
    }

    mg_connection *const connection_;
    const bool chunked_;
    const bool keep_alive_;
    bool complete_ = false;
};

} // namespace

/// What is remembered of a connection between its requests.
struct Server::Connection {
    Clock::time_point waiting_since = Clock::now(); ///< for a request's head
    int requests = 0;
    bool answered = false; ///< the request that is being dealt with
    bool counted = true;   ///< among those that are served
};

/// The HTTP library's view of the server.
struct Server::Callbacks {
    static Server &server(const mg_connection *connection) {
        return *static_cast<Server *>(mg_get_user_context_data(connection));
    }
    static Connection &state(const mg_connection *connection) {
        return *static_cast<Connection *>(mg_get_user_connection_data(connection));
    }
    static void *init_thread(const mg_context *context, int) {
        static_cast<Server *>(mg_get_user_data(context))->threads_.note(true);
        return nullptr;
    }
    static void exit_thread(const mg_context *context, int, void *) {
        static_cast<Server *>(mg_get_user_data(context))->threads_.note(false);
    }
    static int init_connection(const mg_connection *connection, void **data) {
        server(connection).connections_++;
        *data = new Connection;
        return 0;
    }
    static void connection_close(const mg_connection *connection) {
        server(connection).answer_unrouted(const_cast<mg_connection *>(connection));
        server(connection).uncount(state(connection));
        delete &state(connection);
    }
    static int begin_request(mg_connection *connection) {
        const int status = server(connection).handle(connection);
        Connection &now = state(connection);
        now.waiting_since = Clock::now();
        now.requests++;
        now.answered = false;
        return status;
    }
    static int http_error(mg_connection *connection, int status, const char *message) {
        server(connection).report_error(connection, status, message);
        return 0;
    }
    /// The first message says why a start failed; what goes wrong with a client later is the
    /// client's to be told.
    static int log_message(const mg_connection *connection, const char *message) {
        std::string &reason = server(connection).start_error_;
        if (!server(connection).started_ && reason.empty())
            reason = message;
        return 1;
    }
};

/// The secured port is served by the front; its plain port behind is the last of the list.
Server::Server(Device &device, const ServerOptions &options) : device_(device), options_(options) {
    const auto port_of = [&](std::size_t i) {
        return options.port == 0 ? 0 : options.port + static_cast<int>(i);
    };
    const std::string certificate = device.root() + certificate_file;
    provide_certificate(certificate);
    constexpr std::size_t secured = static_cast<std::size_t>(Interface::https);
    tls_ = std::make_unique<TlsFront>(options.address, port_of(secured), certificate,
                                      std::chrono::milliseconds(options.request_timeout_ms));
    std::string ports;
    for (std::size_t i = 0; i < secured; ++i)
        ports.append(options.address).append(":").append(std::to_string(port_of(i))).append(",");
    start(ports + "127.0.0.1:0");
    note_ports();
    tls_->start(plain_https_port_);
}

void Server::start(const std::string &ports) {
    const std::string threads = std::to_string(worker_threads);
    const std::string head = std::to_string(max_head);
    const std::string request_timeout = std::to_string(options_.request_timeout_ms);
    const std::string keep_alive_timeout =
        std::to_string(std::min(options_.request_timeout_ms, keep_alive_timeout_ms));
    const char *settings[] = {"listening_ports",
                              ports.c_str(),
                              "num_threads",
                              threads.c_str(),
                              "request_timeout_ms",
                              request_timeout.c_str(),
                              "keep_alive_timeout_ms",
                              keep_alive_timeout.c_str(),
                              "enable_keep_alive",
                              "yes",
                              "max_request_size",
                              head.c_str(),
                              "tcp_nodelay",
                              "1",
                              "decode_url",
                              "no", // decode_path does, and refuses what it cannot
                              "enable_auth_domain_check",
                              "no", // a request line may name the host as it likes
                              nullptr};

    mg_callbacks callbacks = {};
    callbacks.init_thread = Callbacks::init_thread;
    callbacks.exit_thread = Callbacks::exit_thread;
    callbacks.init_connection = Callbacks::init_connection;
    callbacks.connection_close = Callbacks::connection_close;
    callbacks.begin_request = Callbacks::begin_request;
    callbacks.http_error = Callbacks::http_error;
    callbacks.log_message = Callbacks::log_message;

    char reason[256] = "";
    mg_init_data init = {};
    init.callbacks = &callbacks;
    init.user_data = this;
    init.configuration_options = settings;
    mg_error_data error = {};
    error.text = reason;
    error.text_buffer_size = sizeof reason;

    mg_init_library(MG_FEATURES_DEFAULT);
    context_ = mg_start2(&init, &error);
    if (!context_)
        throw std::runtime_error("cannot serve " + ports + ": " +
                                 (start_error_.empty() ? reason : start_error_));
    started_ = true;
}

/// The library lists the ports in the order in which they were asked for.
void Server::note_ports() {
    std::array<mg_server_port, interfaces.size()> found = {};
    const int count = mg_get_server_ports(context_, static_cast<int>(found.size()), found.data());
    if (count != static_cast<int>(found.size()))
        throw std::runtime_error("cannot serve every interface");
    for (std::size_t i = 0; i < found.size(); ++i)
        ports_[i] = found[i].port;
    plain_https_port_ = std::exchange(ports_.back(), tls_->port());
    ports_noted_.count_down();
}

/// None for a stranger at the plain port behind the secured one.
std::optional<Interface> Server::interface_of(int server_port, int remote_port) const {
    if (server_port == plain_https_port_)
        return tls_->client_behind(remote_port) ? std::optional(Interface::https) : std::nullopt;
    for (const Interface interface : interfaces)
        if (port(interface) == server_port)
            return interface;
    return std::nullopt;
}

Server::~Server() { stop(); }

void Server::stop() {
    if (!context_)
        return;
    threads_.stop(std::exchange(context_, nullptr));
    tls_->stop();
    mg_exit_library();
}

/// One request and its answer.
class Exchange {
public:
    Exchange(mg_connection *connection, Device &device, Interface interface,
             const std::string &local_host, const Peer &peer)
        : connection_(connection), device_(device), info_(*mg_get_request_info(connection)),
          fields_(fields_of(info_)), head_{info_.request_method, info_.local_uri,
                                           info_.http_version, fields_,
                                           info_.query_string ? info_.query_string : ""},
          checked_(check_request(head_, interface, local_host, peer)),
          keep_alive_(wants_keep_alive(head_)) {
        // A port stands for its interface: without a link nothing would come through.
        if (!checked_.refusal && !has_link(device.root(), interface))
            checked_.refusal =
                error_response(503, std::string(interface_name(interface)) + " has no link");
    }

    /// Returns the status that the client got.
    int run(int open_connections, std::chrono::milliseconds body_time) {
        keep_alive_ = keep_alive_ && open_connections <= max_kept_alive;
        if (open_connections > max_connections)
            return refuse_and_close(error_response(503, "too many connections"));
        receive_body({max_body, body_time});
        if (checked_.refusal)
            return checked_.refusal->close ? refuse_and_close(*checked_.refusal)
                                           : write(*checked_.refusal);
        if (!checked_.plan.resource)
            return describe_options();
        return answer();
    }

    bool keeps_alive() const { return keep_alive_; }

private:
    void receive_body(const BodyLimits &limits) {
        Plan &plan = checked_.plan;
        if (!plan.has_body() || (checked_.refusal && checked_.refusal->close))
            return;
        int failure = 0;
        if (plan.expects_continue && checked_.refusal)
            failure = checked_.refusal->status; // the client keeps the body to itself
        else if (plan.expects_continue && plan.framing.length.value_or(0) <= limits.size)
            write_all(connection_, "HTTP/1.1 100 Continue\r\n\r\n");
        if (failure == 0)
            failure = read_body(reader(), plan.framing, limits, plan.request.body);
        if (failure != 0) {
            if (!checked_.refusal)
                checked_.refusal = error_response(failure, "body");
            checked_.refusal->close = true;
        } else if (!checked_.refusal && plan.request.body.find('\0') != std::string::npos) {
            checked_.refusal = error_response(400, "NUL in the body");
        }
    }

    int refuse_and_close(const Response &response) {
        keep_alive_ = false;
        const int status = write(response);
        if (checked_.plan.has_body() && !checked_.plan.expects_continue)
            drop_body(reader(), drop_limits);
        return status;
    }

    int describe_options() {
        Response response;
        response.status = 204;
        response.allow = allowed_methods(checked_.plan.request.path);
        return write(response);
    }

    int answer() {
        const bool chunked = head_.version == "1.1";
        ChunkWriter writer(connection_, chunked, keep_alive_ && chunked);
        ImageSink sink = writer.sink();
        const SharedResponse response =
            device_.answer(*checked_.plan.resource, checked_.plan.request, sink);
        if (response)
            return write(*response);
        if (!writer.complete() || !chunked || !keep_alive_)
            mg_disable_connection_keep_alive(connection_);
        return 200;
    }

    int write(const Response &response) {
        if (!keep_alive_)
            mg_disable_connection_keep_alive(connection_);
        write_response(connection_, response, head_.method == "HEAD", keep_alive_);
        return response.status;
    }

    ReadBody reader() const {
        return
            [this](char *buffer, std::size_t size) { return mg_read(connection_, buffer, size); };
    }

    mg_connection *const connection_;
    Device &device_;
    const mg_request_info &info_;
    const std::vector<Field> fields_;
    const RequestHead head_;
    CheckedRequest checked_;
    bool keep_alive_;
};

void Server::uncount(Connection &connection) {
    if (std::exchange(connection.counted, false))
        connections_--;
}

int Server::handle(mg_connection *connection) {
    ports_noted_.wait();
    Callbacks::state(connection).answered = true;
    const std::chrono::milliseconds body_time(options_.request_timeout_ms);
    const mg_request_info *info = mg_get_request_info(connection);
    const auto interface = interface_of(info->server_port, info->remote_port);
    if (!interface) {
        mg_disable_connection_keep_alive(connection);
        write_response(connection, error_response(403, "not a port of the scanner"), false, false);
        return 403;
    }
    const std::string local_host = options_.address + ":" + std::to_string(port(*interface));
    // Of HTTPS the other end is its front, which listens where the plain ports do.
    Peer peer = {is_loopback(options_.address) && is_loopback(info->remote_addr), info->remote_addr,
                 &device_.login()};
    if (*interface == Interface::https)
        peer.address = tls_->client_behind(info->remote_port).value_or(peer.address);
    try {
        Exchange exchange(connection, device_, *interface, local_host, peer);
        const int status = exchange.run(connections_, body_time);
        // A client that has its last answer may be back before this connection is closed.
        if (!exchange.keeps_alive())
            uncount(Callbacks::state(connection));
        return status;
    } catch (const std::exception &error) {
        mg_disable_connection_keep_alive(connection);
        write_response(connection, error_response(500, error.what()), false, false);
        return 500;
    }
}

/// A request that the HTTP library could not read. It closes the connection afterwards.
void Server::report_error(mg_connection *connection, int status, std::string_view message) {
    Connection &state = Callbacks::state(connection);
    state.answered = true;
    const int limit = state.requests == 0
                          ? options_.request_timeout_ms
                          : std::min(options_.request_timeout_ms, keep_alive_timeout_ms);
    const auto waited = Clock::now() - state.waiting_since;
    const mg_request_info *info = mg_get_request_info(connection);
    if (status == 400 && message == "Malformed message" &&
        waited >= std::chrono::milliseconds(limit))
        status = 408;
    else if (status == 400 && info && info->request_method &&
             !has_token(server_methods, info->request_method))
        status = 501;
    else if (status == 411)
        status = 400; // a length that is none
    write_response(connection, error_response(status, ""), false, false);
}

/// The HTTP library closes the connection without a word on a request line that names no path of
/// this server: "*", or another host. This is the last moment to answer.
void Server::answer_unrouted(mg_connection *connection) {
    const mg_request_info *info = mg_get_request_info(connection);
    if (!info || !info->request_method || !info->http_version || info->local_uri_raw ||
        Callbacks::state(connection).answered)
        return;
    const std::string_view method = info->request_method;
    Response response = error_response(421, "the request names another server");
    if (std::string_view(info->request_uri) == "*") {
        response = error_response(method == "OPTIONS" ? 204 : 400, "");
        response.text.clear();
        if (method == "OPTIONS")
            response.allow = server_methods;
    }
    write_response(connection, response, method == "HEAD", false);
}

} // namespace varn::web
