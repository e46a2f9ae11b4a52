#include "device/web/authority.h"

#include <algorithm>
#include <arpa/inet.h>

namespace varn::web {
namespace {

/// A loopback name or number, with or without a port.
bool names_this_machine(std::string_view host) {
    const std::size_t colon = host.rfind(':');
    const bool has_port = colon != std::string_view::npos && host.find(']', colon) == host.npos;
    const std::string name(has_port ? host.substr(0, colon) : host);
    return name == "[::1]" || is_loopback(name);
}

/// A page elsewhere wants this as a script, a picture or a frame of its own. Browsers send no
/// origin with these.
bool is_embedded_elsewhere(const Sender &sender) {
    return !sender.fetch_site.empty() && sender.fetch_site != "same-origin" &&
           sender.fetch_site != "none" && sender.fetch_destination != "document";
}

} // namespace

bool is_loopback(const std::string &address) {
    in_addr number = {};
    if (inet_pton(AF_INET, address.c_str(), &number) == 1)
        return ntohl(number.s_addr) >> 24 == IN_LOOPBACKNET;
    return address == "localhost";
}

bool is_of_own_origin(const Sender &sender) {
    const std::string own = std::string(sender.scheme).append("://").append(sender.host);
    return (!sender.origin || *sender.origin == own) && !is_embedded_elsewhere(sender);
}

bool is_own_request(const Sender &sender) {
    return names_this_machine(sender.host) && is_of_own_origin(sender);
}

bool may_administer(const Sender &sender) {
    return sender.is_from_this_machine && is_own_request(sender);
}

} // namespace varn::web
