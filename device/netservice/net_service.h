/// The device's net service: takes messages, keeps the settings, and shows them and the live
/// state in the status block.
#pragma once

#include "device/engine/connections.h"
#include "device/engine/files.h"
#include "device/netservice/live.h"
#include "device/wire/net_block.h"

#include <array>
#include <filesystem>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace varn::netservice {

inline constexpr std::int64_t wps_success_ms = 3000;
inline constexpr std::int64_t wps_timeout_ms = 6000;

/// One WPS session, the running one or the last.
struct WpsSession {
    enum class State { idle, running, succeeded, no_partner, bad_pin, cancelled };
    State state = State::idle;
    bool pin_is_good = true;
    std::int64_t began_ms = 0;
};

/// What an interface has carried: all of it follows from the time that its link was up.
struct Traffic {
    std::int64_t up_ms = 0;
    std::uint32_t link_downs = 0;
    bool was_up = false;
};

class NetService {
public:
    /// root   device tree
    /// uuid   of the device; addresses, host name and PIN follow from it
    NetService(const std::filesystem::path &root, std::string_view uuid);

    /// The block for that mode; empty for an unknown one.
    engine::Bytes read(std::uint32_t mode);
    /// Every change is on flash before the call returns. False, with nothing changed, when the
    /// data makes no sense.
    bool write(std::uint32_t command, std::span<const std::byte> data);

    /// varnctl: `name` is "net state", "net network add", …. False for an unknown one; throws
    /// std::runtime_error, with words for the user, when it cannot be done.
    bool command(const std::string &name, const nlohmann::json &request, nlohmann::json &answer);

    /// To be called every now and then.
    void tick();
    bool restore_factory();

private:
    struct Live;
    /// Expects mutex_ to be held, as does all that follows.
    Live live() const;
    void settle();
    void settle_wps(std::int64_t now_ms);
    void settle_carriers();
    void settle_leases();
    void count_traffic(std::int64_t now_ms);
    bool wants_link(Interface id) const;
    bool change(const NetConfig &next);
    bool take_message(std::string_view text);
    bool take_power(Interface id, std::span<const std::byte> data);
    void start_wps(bool pin_is_good);
    void end_wps(WpsSession::State state);
    void set_carrier(const std::string &interface, bool up);
    void change_world(const std::string &name, const nlohmann::json &request);
    nlohmann::json describe() const;

    const std::filesystem::path root_;
    const engine::Connections connections_;
    const Identity identity_;
    mutable std::mutex mutex_;
    NetConfig config_;
    World world_;
    WpsSession wps_;
    std::array<Traffic, interface_count> traffic_;
    std::array<std::optional<bool>, interface_count> wanted_links_;
    std::array<std::optional<std::string>, interface_count> leases_;
    std::int64_t settled_ms_ = 0;
};

} // namespace varn::netservice
