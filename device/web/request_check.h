/// From a request's head to the resource that it is for, or to its refusal.
#pragma once

#include "device/web/body_reader.h"
#include "device/web/http.h"

#include <optional>
#include <span>
#include <string_view>

namespace varn::web {

class Login;
struct Resource;

struct Field {
    std::string_view name;
    std::string_view value;
};

/// A request's head as it was received; the texts belong to the caller.
struct RequestHead {
    std::string_view method;
    std::string_view target;  ///< without the host, when the client named one there
    std::string_view version; ///< "1.0" or "1.1"
    std::span<const Field> fields;
    std::string_view query = {}; ///< of the target, when it comes apart from it
};

/// The other end of the connection.
struct Peer {
    bool is_from_this_machine = false; ///< both ends are its loopback, which no one else reaches
    std::string address = {};
    Login *login = nullptr; ///< of the server; null: nobody logs in
};

/// What is known of a request before its body.
struct Plan {
    const Resource *resource = nullptr; ///< null: OPTIONS
    Request request;
    bool head_only = false;
    bool expects_continue = false;
    BodyFraming framing;

    bool has_body() const { return framing.chunked || framing.length.value_or(0) != 0; }
};

struct CheckedRequest {
    Plan plan; ///< as far as it got
    std::optional<Response> refusal;
};
/// interface and local_host tell where the request came in; a client of HTTP/1.0 need not name
/// the host.
CheckedRequest check_request(const RequestHead &head, Interface interface,
                             const std::string &local_host, const Peer &peer = {});

/// Whether the connection stays open after the answer, as far as the client is concerned.
bool wants_keep_alive(const RequestHead &head);

/// Whether a word is in a comma-separated list, whatever its case.
bool has_token(std::string_view list, std::string_view token);

} // namespace varn::web
