/// Who a request comes from, and what that allows.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace varn::web {

/// What a request says of where it comes from; the texts belong to the caller.
struct Sender {
    std::string_view scheme = "http";
    std::string_view host;                  ///< of the Host field, with its port
    std::optional<std::string_view> origin; ///< nothing: no page sent it, or no browser
    std::string_view fetch_site;            ///< Sec-Fetch-Site
    std::string_view fetch_destination;     ///< Sec-Fetch-Dest
    bool is_from_this_machine = false;      ///< both ends of the connection are its loopback
};

/// Whether an address is this machine's own loopback.
bool is_loopback(const std::string &address);

/// Whether a request was meant for this machine by a program on it, or by a page that this server
/// gave out. A name that somebody made lead here is not ours, and another site's page may neither
/// send anything nor embed what it finds; a link that leads here is followed.
bool is_own_request(const Sender &sender);

/// Whether no page of another origin has a hand in a request. A browser adds the administrator's
/// login to what such a page sends.
bool is_of_own_origin(const Sender &sender);

/// Whether a request may see and change what is the administrator's while no password is set:
/// whoever works at this machine is the administrator of a scanner that nobody else can reach.
bool may_administer(const Sender &sender);

} // namespace varn::web
