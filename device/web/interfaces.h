/// The interfaces of the device, each of which has a port of its own.
#pragma once

#include "device/web/http.h"

#include <array>
#include <string>
#include <string_view>

namespace varn::web {

/// In the order of the ports: the first one, and each one the next.
inline constexpr std::array interfaces = {Interface::eth0, Interface::wlan0, Interface::wlan1,
                                          Interface::usb, Interface::https};

std::string_view interface_name(Interface interface);

/// Whether the interface has a link: its carrier file, or the connect file of USB, in the device
/// tree says neither "0" nor nothing. HTTPS comes over eth0.
bool has_link(const std::string &root, Interface interface);

} // namespace varn::web
