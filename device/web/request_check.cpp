#include "device/web/request_check.h"

#include "device/web/authority.h"
#include "device/web/login.h"
#include "device/web/resource_map.h"

#include <algorithm>

namespace varn::web {
namespace {

bool equal_ignoring_case(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, [](char x, char y) {
        const auto lower = [](char c) {
            return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
        };
        return lower(x) == lower(y);
    });
}

std::string_view trim(std::string_view text) {
    const auto begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

struct FieldValue {
    std::string_view value; ///< of the first
    unsigned count = 0;
};
FieldValue find_field(const RequestHead &head, std::string_view name) {
    FieldValue found;
    for (const Field &field : head.fields)
        if (equal_ignoring_case(field.name, name) && found.count++ == 0)
            found.value = trim(field.value);
    return found;
}

/// A head that can be read in two ways makes client and server disagree about where the next
/// request begins.
Response refuse_head(int status, std::string_view reason) {
    Response response = error_response(status, reason);
    response.close = true;
    return response;
}

std::optional<Response> read_framing(const RequestHead &head, BodyFraming &framing) {
    const FieldValue coding = find_field(head, "Transfer-Encoding");
    const FieldValue length = find_field(head, "Content-Length");
    if (coding.count + length.count > 1)
        return refuse_head(400, "more than one word on the length of the body");
    if (coding.count == 1 && !equal_ignoring_case(coding.value, "chunked"))
        return refuse_head(501, "transfer coding");
    framing.chunked = coding.count == 1;
    if (length.count == 1) {
        framing.length = parse_length(length.value);
        if (!framing.length)
            return refuse_head(400, "length of the body");
    }
    return std::nullopt;
}

std::optional<Response> read_host(const RequestHead &head, const std::string &local_host,
                                  std::string &host) {
    const FieldValue field = find_field(head, "Host");
    if (field.count == 0 && head.version == "1.0") {
        host = local_host;
        return std::nullopt;
    }
    if (field.count != 1 || !is_valid_host(field.value))
        return refuse_head(400, "host");
    host = field.value;
    return std::nullopt;
}

std::optional<Response> read_expectation(const RequestHead &head, bool &expects_continue) {
    const FieldValue field = find_field(head, "Expect");
    if (field.count == 0)
        return std::nullopt;
    if (!equal_ignoring_case(field.value, "100-continue"))
        return error_response(417, "");
    expects_continue = head.version == "1.1";
    return std::nullopt;
}

std::optional<Method> method_of(std::string_view name) {
    if (name == "HEAD")
        return Method::get;
    for (const Method method : {Method::get, Method::put, Method::post, Method::del})
        if (name == method_name(method))
            return method;
    return std::nullopt;
}

Response not_allowed(std::string_view path) {
    Response response = error_response(405, "");
    response.allow = allowed_methods(path);
    return response;
}

Sender sender_of(const RequestHead &head, const Plan &plan, const Peer &peer) {
    const FieldValue origin = find_field(head, "Origin");
    Sender sender;
    sender.scheme = plan.request.interface == Interface::https ? "https" : "http";
    sender.host = plan.request.host;
    if (origin.count != 0) // two of them are no page's
        sender.origin = origin.count == 1 ? origin.value : "";
    sender.fetch_site = find_field(head, "Sec-Fetch-Site").value;
    sender.fetch_destination = find_field(head, "Sec-Fetch-Dest").value;
    sender.is_from_this_machine = peer.is_from_this_machine;
    return sender;
}

/// The target as it was sent; the query comes apart from it.
std::string whole_target(const RequestHead &head) {
    std::string target(head.target);
    return head.query.empty() ? target : target.append("?").append(head.query);
}

std::optional<Response> authorise(const RequestHead &head, const Plan &plan, const Peer &peer,
                                  Authority who) {
    if (who == Authority::everyone)
        return std::nullopt;
    const Sender sender = sender_of(head, plan, peer);
    if (peer.login == nullptr || !peer.login->is_required()) {
        if (who == Authority::administrator && !may_administer(sender))
            return error_response(403, "administrator only, at the scanner's own machine");
        return std::nullopt;
    }
    if (!is_of_own_origin(sender))
        return error_response(403, "another site asks");
    const FieldValue field = find_field(head, "Authorization");
    return peer.login->refuse(
        {head.method, whole_target(head), field.count == 1 ? field.value : "", peer.address});
}

std::optional<Response> find_target(const RequestHead &head, const Peer &peer, Plan &plan) {
    std::optional<std::string> path = decode_path(head.target);
    if (!path || path->empty() || path->front() != '/')
        return error_response(400, "path");
    plan.request.path = std::move(*path);
    plan.request.query = head.query;

    const std::optional<Method> method = method_of(head.method);
    Match match = find_resource(plan.request.path, method.value_or(Method::get));
    if (!match.path_exists)
        return error_response(404, "no such resource");
    plan.request.uuid = std::move(match.uuid);
    plan.request.ids = std::move(match.ids);
    if (head.method == "OPTIONS")
        return std::nullopt;
    plan.head_only = head.method == "HEAD";
    if (!method || !match.resource || (plan.head_only && !allows_head(*match.resource)))
        return not_allowed(plan.request.path);
    if (auto refusal = authorise(head, plan, peer, match.resource->who))
        return refusal;
    plan.request.method = *method;
    plan.resource = match.resource;
    return std::nullopt;
}

} // namespace

bool has_token(std::string_view list, std::string_view token) {
    while (!list.empty()) {
        const auto comma = std::min(list.find(','), list.size());
        if (equal_ignoring_case(trim(list.substr(0, comma)), token))
            return true;
        list.remove_prefix(std::min(comma + 1, list.size()));
    }
    return false;
}

bool wants_keep_alive(const RequestHead &head) {
    const FieldValue field = find_field(head, "Connection");
    if (field.count == 0)
        return head.version == "1.1";
    return has_token(field.value, "keep-alive");
}

CheckedRequest check_request(const RequestHead &head, Interface interface,
                             const std::string &local_host, const Peer &peer) {
    CheckedRequest checked;
    Plan &plan = checked.plan;
    std::optional<Response> &refusal = checked.refusal;
    plan.request.interface = interface;
    refusal = read_framing(head, plan.framing);
    if (!refusal)
        refusal = read_expectation(head, plan.expects_continue);
    if (!refusal)
        refusal = read_host(head, local_host, plan.request.host);
    if (!refusal)
        refusal = find_target(head, peer, plan);
    const bool needs_body =
        plan.request.method == Method::put || plan.request.method == Method::post;
    if (!refusal && needs_body && !plan.framing.chunked && !plan.framing.length)
        refusal = error_response(411, "");
    return checked;
}

} // namespace varn::web
