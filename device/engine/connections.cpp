#include "device/engine/connections.h"

#include "device/engine/files.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace varn::engine {
namespace {

constexpr std::size_t switch_limit = 64; // bytes

std::filesystem::path usb_file(const std::filesystem::path &root) {
    return root / "proc/kob_usbd/connect";
}

std::filesystem::path carrier_file(const std::filesystem::path &root, std::string_view interface) {
    return root / "sys/class/net" / interface / "carrier";
}

void write_switch(const std::filesystem::path &path, bool on) {
    if (!replace_file(path, bytes_of(std::string_view(on ? "1\n" : "0\n"))))
        throw std::runtime_error("the device tree cannot be written");
}

bool read_switch(const std::filesystem::path &path) {
    const auto content = read_file(path, switch_limit);
    return content && !content->empty() && content->front() == std::byte{'1'};
}

} // namespace

void Connections::set_usb(bool in) const { write_switch(usb_file(root_), in); }

void Connections::set_carrier(std::string_view interface, bool up) const {
    if (std::ranges::find(net_interfaces, interface) == net_interfaces.end())
        throw std::runtime_error("no such interface: " + std::string(interface) +
                                 "; there are eth0, wlan0 and wlan1");
    write_switch(carrier_file(root_, interface), up);
}

bool Connections::has_carrier(std::string_view interface) const {
    return read_switch(carrier_file(root_, interface));
}

void Connections::describe(nlohmann::json &state) const {
    state["usb"] = read_switch(usb_file(root_)) ? "in" : "out";
    for (const std::string_view interface : net_interfaces)
        state["carriers"][std::string(interface)] = has_carrier(interface) ? "up" : "down";
}

} // namespace varn::engine
