#include "device/netservice/block.h"

#include <algorithm>
#include <cstring>

namespace varn::netservice {
namespace {

namespace net = wire::net;

class BlockWriter {
public:
    explicit BlockWriter(engine::Bytes &bytes) : bytes_(bytes) {}

    void word(std::size_t offset, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes_.at(offset + i) = static_cast<std::byte>(value >> (8 * i));
    }
    void byte(std::size_t offset, bool value) {
        bytes_.at(offset) = static_cast<std::byte>(value ? 1 : 0);
    }
    void text(net::Text place, std::string_view value) {
        const std::size_t size = std::min(value.size(), place.width - 1);
        bytes_.at(place.offset + place.width - 1) = std::byte{0};
        std::memcpy(&bytes_.at(place.offset), value.data(), size);
    }

private:
    engine::Bytes &bytes_;
};

void write_saved_ipv4(BlockWriter &out, std::size_t base, const Ipv4Config &ipv4) {
    out.word(base + net::saved::ipv4_enabled, 1);
    out.word(base + net::saved::ipv4_static, ipv4.is_static);
    out.word(base + net::saved::ipv4_dhcp, ipv4.dhcp);
    out.word(base + net::saved::ipv4_auto_ip, ipv4.auto_ip);
    out.word(base + net::saved::ipv4_static_dns, ipv4.static_dns);
    for (std::size_t i = 0; i < 2; ++i)
        out.text(net::saved::ipv4_dns[i].at(base), ipv4.dns[i]);
    out.text(net::saved::address.at(base), ipv4.address);
    out.text(net::saved::mask.at(base), ipv4.mask);
    out.text(net::saved::gateway.at(base), ipv4.gateway);
}

void write_saved_ipv6(BlockWriter &out, std::size_t base, const Ipv6Config &ipv6) {
    out.word(base + net::saved::ipv6_enabled, ipv6.enabled);
    out.word(base + net::saved::ipv6_static, ipv6.is_static);
    out.word(base + net::saved::ipv6_prefix_length, ipv6.prefix_length);
    out.word(base + net::saved::ipv6_static_dns, ipv6.static_dns);
    out.text(net::saved::ipv6_address.at(base), ipv6.address);
}

/// Readers differ in which record of an interface they take, so all of them are the same.
void write_saved(BlockWriter &out, const BlockContent &content) {
    for (std::size_t id = 0; id < interface_count; ++id)
        for (std::size_t n = 0; n < net::saved::records; ++n) {
            const InterfaceConfig &interface = content.config.interfaces[id];
            const std::size_t base = id * net::saved::interface_stride;
            write_saved_ipv4(out, base + n * net::saved::ipv4_stride, interface.ipv4);
            write_saved_ipv6(out, base + n * net::saved::ipv6_stride, interface.ipv6);
        }
    out.text(net::saved::default_host_name, content.identity.default_host_name);
    out.text(net::saved::station_ssid, content.config.station.ssid);
    out.text(net::saved::station_security, content.config.station.security);
    out.text(net::saved::station_pass_phrase, content.config.station.pass_phrase);
    out.text(net::saved::direct_ssid, access_point_ssid(content.config, content.identity));
    out.text(net::saved::direct_pass_phrase, content.config.direct.pass_phrase);
}

void write_live_ipv6(BlockWriter &out, std::size_t base, const LiveInterface &live) {
    const std::size_t count = std::min(live.ipv6.size(), net::live::most_ipv6);
    out.word(base + net::live::ipv6_count, static_cast<std::uint32_t>(count));
    for (std::size_t i = 0; i < count; ++i) {
        const LiveIpv6 &address = live.ipv6[i];
        out.text(net::live::ipv6_scope.at(base + i * net::address_width), address.scope);
        out.text(net::live::ipv6_address.at(base + i * net::address_width), address.address);
        out.word(base + net::live::ipv6_prefix_length + 4 * i, address.prefix_length);
        out.word(base + net::live::ipv6_valid_s + 4 * i, address.valid_s);
        out.word(base + net::live::ipv6_preferred_s + 4 * i, address.preferred_s);
    }
    out.text(net::live::ipv6_domain.at(base), live.domain);
    for (std::size_t i = 0; i < 2; ++i)
        out.text(net::live::ipv6_dns[i].at(base), live.ipv6_dns[i]);
}

void write_live(BlockWriter &out, std::size_t base, const LiveInterface &live) {
    out.word(base + net::live::dhcp_in_use, live.dhcp_in_use);
    out.text(net::live::address.at(base), live.address);
    out.text(net::live::mask.at(base), live.mask);
    out.text(net::live::gateway.at(base), live.gateway);
    out.text(net::live::domain.at(base), live.domain);
    for (std::size_t i = 0; i < 2; ++i)
        out.text(net::live::dns[i].at(base), live.dns[i]);
    out.text(net::live::dhcp_server.at(base), live.dhcp_server);
    if (live.dhcp_in_use) {
        out.word(base + net::live::dhcp_t1, dhcp_t1_s);
        out.word(base + net::live::dhcp_t2, dhcp_t2_s);
    }
    write_live_ipv6(out, base, live);
    out.word(base + net::live::power_on, live.power);
    out.word(base + net::live::connected, live.connected);
}

void write_interfaces(BlockWriter &out, const BlockContent &content) {
    out.text(net::live::host_name, content.host_name);
    out.text(net::live::default_host_name, content.identity.default_host_name);
    for (std::size_t id = 0; id < interface_count; ++id) {
        const std::size_t base = id * net::live::interface_stride;
        out.text(net::live::lease_name.at(base), interface_names[id]);
        out.text(net::live::mac.at(base), content.identity.macs[id]);
        write_live(out, base, content.live[id]);
    }
    out.word(net::live::speed_mbit, content.live[eth0].connected ? 1000 : 0);
    out.word(net::live::full_duplex, content.live[eth0].connected);
    out.word(net::live::wlan0_is_request_interface,
             content.live[wlan0].connected && !content.live[eth0].connected);
    if (content.live[wlan1].connected)
        out.text(net::live::wlan1_bssid, content.identity.macs[wlan1]);
    if (content.joined == nullptr || !content.live[wlan0].connected)
        return;
    out.text(net::live::wlan0_ssid, content.joined->ssid);
    out.text(net::live::wlan0_bssid, content.joined->bssid);
    out.word(net::live::wlan0_channel, content.joined->channel);
    out.word(net::live::wlan0_signal, content.joined->signal);
}

void write_scan_list(BlockWriter &out, const World &world) {
    out.word(net::scan::count, static_cast<std::uint32_t>(world.networks.size()));
    std::size_t entry = net::scan::first;
    for (const Network &network : world.networks) {
        out.text(net::scan::ssid.at(entry), network.ssid);
        out.text(net::scan::bssid.at(entry), network.bssid);
        out.word(entry + net::scan::signal, network.signal);
        out.word(entry + net::scan::channel, network.channel);
        out.word(entry + net::scan::dbm, static_cast<std::uint32_t>(network.dbm()));
        out.text(net::scan::security.at(entry), network.security);
        out.text(net::scan::encryption.at(entry), network.encryption());
        out.byte(entry + net::scan::wps, network.wps);
        entry += net::scan::stride;
    }
}

void write_clients(BlockWriter &out, const World &world) {
    out.word(net::clients::count, static_cast<std::uint32_t>(world.clients.size()));
    for (std::size_t i = 0; i < world.clients.size(); ++i) {
        const std::size_t entry = net::clients::first + i * net::clients::stride;
        out.text(net::clients::name.at(entry), world.clients[i]);
        out.text(net::clients::address.at(entry), client_address(i));
        out.text(net::clients::mac.at(entry), client_mac(i));
    }
}

void write_statistics(BlockWriter &out, std::size_t record, const Traffic &traffic) {
    const std::uint32_t received = packets_received(traffic);
    out.word(record + net::statistics::bad_received, received / 4096);
    out.word(record + net::statistics::received, received);
    out.word(record + net::statistics::sent, packets_sent(traffic));
    out.word(record + net::statistics::unicast_received, received - received / 4);
    out.word(record + net::statistics::broadcast_received, received / 4);
    out.word(record + net::statistics::broadcast_sent, packets_sent(traffic) / 16);
}

void write_wps(BlockWriter &out, const BlockContent &content) {
    using State = WpsSession::State;
    const auto is = [&](State state) { return content.wps.state == state; };
    out.text(net::wps::pin, content.identity.wps_pin);
    out.word(net::wps::running, is(State::running));
    out.word(net::wps::no_partner, is(State::no_partner));
    out.word(net::wps::bad_pin, is(State::bad_pin));
    out.word(net::wps::cancelled, is(State::cancelled));
    out.word(net::wps::succeeded, is(State::succeeded));
}

} // namespace

std::uint32_t packets_received(const Traffic &traffic) {
    return static_cast<std::uint32_t>(traffic.up_ms / 50);
}

std::uint32_t packets_sent(const Traffic &traffic) {
    return static_cast<std::uint32_t>(traffic.up_ms / 80);
}

engine::Bytes fill_block(const BlockContent &content, net::Mode mode) {
    engine::Bytes bytes(net::block_size);
    BlockWriter out(bytes);
    write_saved(out, content);
    write_interfaces(out, content);
    write_scan_list(out, content.world);
    if (content.live[wlan1].connected)
        write_clients(out, content.world);
    const Interface radio = mode == net::Mode::wlan1_statistics ? wlan1 : wlan0;
    write_statistics(out, net::statistics::eth0, content.traffic[eth0]);
    write_statistics(out, net::statistics::wireless, content.traffic[radio]);
    out.word(net::statistics::link_downs, content.traffic[radio].link_downs);
    write_wps(out, content);
    return bytes;
}

} // namespace varn::netservice
