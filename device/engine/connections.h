/// What is plugged into the device: the USB host and the network links, as the files of the tree
/// show them.
#pragma once

#include <array>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace varn::engine {

inline constexpr std::array<std::string_view, 3> net_interfaces = {"eth0", "wlan0", "wlan1"};

class Connections {
public:
    explicit Connections(std::filesystem::path root) : root_(std::move(root)) {}

    /// Each throws std::runtime_error, with words for the user, when it cannot be done.
    void set_usb(bool in) const;
    void set_carrier(std::string_view interface, bool up) const;

    /// False also without a file, and for another interface.
    bool has_carrier(std::string_view interface) const;

    /// The parts "usb" and "carriers" of the state; a file that is not there counts as unplugged.
    void describe(nlohmann::json &state) const;

private:
    std::filesystem::path root_;
};

} // namespace varn::engine
