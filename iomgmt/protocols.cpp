/// GET of an adapter's protocols: what is live.

#include "iomgmt/fill.h"
#include "varn/io_adapters.h"

#include <algorithm>
#include <cstring>

using varn::Document;

namespace varn::net {
namespace {

Interface interface_number(int32_t id) {
    return id == 1 || id == 2 ? static_cast<Interface>(id) : Interface::eth0;
}

uint32_t address_count(const StatusBlock &block, Interface id) {
    return std::min(block.word(live::of(live::ipv6_count, id)), live::most_ipv6_addresses);
}

enum dd__ConfigMethod ipv4_method(const StatusBlock &block, Interface id, uint64_t n) {
    if (block.flag(saved::ipv4(saved::ipv4_static, id, n)))
        return dd__ConfigMethod__manual;
    const bool link_local = block.flag(saved::ipv4(saved::ipv4_auto_ip, id, n)) &&
                            block.text(live::of(live::ipv4_address, id)).starts_with("169.254") &&
                            block.text(live::of(live::ipv4_mask, id)) == "255.255.0.0";
    return link_local ? dd__ConfigMethod__autoIP : dd__ConfigMethod__DHCPv4;
}

void fill_ipv4(Document &document, io__Protocol &protocol, const StatusBlock &block, Interface id) {
    const uint64_t n = id == Interface::wlan1 ? 1 : 0;
    const auto live_text = [&](Text field) { return text(document, block, live::of(field, id)); };
    protocol.union_Protocol.dd__IPv4 = dd__EnableDisable__enabled;
    protocol.DNSConfigMethod = document.value(block.flag(saved::ipv4(saved::ipv4_static_dns, id, n))
                                                  ? dd__ConfigMethod__manual
                                                  : dd__ConfigMethod__auto_);
    protocol.dd__DNSServerIPAddress = live_text(live::ipv4_dns1);
    protocol.dd__SecondaryDNSServerIPAddress = live_text(live::ipv4_dns2);
    const enum dd__ConfigMethod method = ipv4_method(block, id, n);
    if (method != dd__ConfigMethod__manual) {
        protocol.dd__DHCPT1 = decimal(document, block.word(live::of(live::dhcp_t1, id)));
        protocol.dd__DHCPT2 = decimal(document, block.word(live::of(live::dhcp_t2, id)));
        protocol.dd__DHCPServerIPAddress = live_text(live::dhcp_server);
    }
    io__IPv4Address &address = *protocol.Addresses->IPv4Addresses->IPv4Address;
    address.dd__IPv4Address_ = live_text(live::ipv4_address);
    address.dd__SubnetMask = live_text(live::ipv4_mask);
    address.dd__DefaultGateway = live_text(live::ipv4_gateway);
    address.dd__ConfigMethod = document.value(method);
}

/// How an IPv6 address came about, from the service's scope text.
std::string config_method(const std::string &scope) {
    constexpr struct {
        const char *text;
        const char *method;
    } words[] = {{"link", "LINK_LOCAL"}, {"global", "STATELESS"}, {"dhcpv6", "DHCPv6"}};
    for (const auto &word : words)
        if (scope.find(word.text) != std::string::npos)
            return word.method;
    return scope;
}

void fill_ipv6_address(Document &document, io__IPv6Address &address, const StatusBlock &block,
                       Interface id, uint64_t i) {
    const auto of = [&](auto field, uint64_t stride) {
        return step(live::of(field, id), i, stride);
    };
    address.dd__IPv6Address_ = text(document, block, of(live::ipv6_address, 40));
    address.dd__IPAddressPrefixLength =
        number(document, block.word(of(live::ipv6_prefix_length, 4)));
    address.dd__IPConfigMethod_ =
        document.text(config_method(block.text(of(live::ipv6_scope, 40))).c_str());
    if (auto *preferred = address.dd__IPAddressPreferredLifetime; preferred != nullptr) {
        preferred->LeaseTime = number(document, block.word(of(live::ipv6_preferred_s, 4)));
        preferred->TimeUnits = document.value(dd__TimeUnits__seconds);
    }
    if (auto *valid = address.dd__IPAddressValidLifetime; valid != nullptr) {
        valid->LeaseTime = number(document, block.word(of(live::ipv6_valid_s, 4)));
        valid->TimeUnits = document.value(dd__TimeUnits__seconds);
    }
}

void fill_ipv6(Document &document, io__Protocol &protocol, const StatusBlock &block, Interface id) {
    // The record is that of the interface's number, where the profile takes the first or second.
    const auto n = static_cast<uint64_t>(id);
    protocol.union_Protocol.dd__IPv6 = block.flag(saved::ipv6(saved::ipv6_enabled, id, n))
                                           ? dd__EnableDisable__enabled
                                           : dd__EnableDisable__disabled;
    protocol.DNSConfigMethod = document.value(block.flag(saved::ipv6(saved::ipv6_static_dns, id, n))
                                                  ? dd__ConfigMethod__manual
                                                  : dd__ConfigMethod__auto_);
    protocol.dd__DNSServerIPAddress = text(document, block, live::of(live::ipv6_dns1, id));
    protocol.dd__SecondaryDNSServerIPAddress = text(document, block, live::of(live::ipv6_dns2, id));
    const io__IPv6Addresses &addresses = *protocol.Addresses->IPv6Addresses;
    // The array was sized from a block of its own; this one may tell another count.
    const auto count = std::min<uint32_t>(static_cast<uint32_t>(addresses.__sizeIPv6Address),
                                          address_count(block, id));
    for (uint32_t i = 0; i < count; ++i)
        fill_ipv6_address(document, addresses.IPv6Address_[i], block, id, i);
}

bool prepare_ipv6_addresses(Document &document, io__IPv6Addresses &addresses, uint32_t count) {
    if (count == 0)
        return true;
    addresses.IPv6Address_ = document.make<io__IPv6Address>(static_cast<int>(count));
    if (addresses.IPv6Address_ == nullptr)
        return false;
    addresses.__sizeIPv6Address = static_cast<int>(count);
    for (uint32_t i = 0; i < count; ++i) {
        io__IPv6Address &address = addresses.IPv6Address_[i];
        address.dd__IPAddressPreferredLifetime = document.make<dd__IPAddressPreferredLifeTime>();
        address.dd__IPAddressValidLifetime = document.make<dd__IPAddressValidLifeTime>();
    }
    return true;
}

} // namespace
} // namespace varn::net

using namespace varn::net;

extern "C" {

int32_t varn_default__io__Protocol(struct soap *context, io__Protocol *protocol,
                                   uint32_t ip_version, int32_t id) {
    Document document(context);
    if (protocol == nullptr)
        return -1;
    protocol->Addresses = document.make<io__Addresses>();
    if (protocol->Addresses == nullptr)
        return -1;
    const bool ipv4 = ip_version == 0;
    protocol->dd__IPVersionSupport =
        document.value(ipv4 ? dd__IPVersionSupport__ipv4 : dd__IPVersionSupport__ipv6);
    if (ipv4) {
        protocol->__union_Protocol = SOAP_UNION__io__union_Protocol_dd__IPv4;
        auto *addresses = document.make<io__IPv4Addresses>();
        if (addresses == nullptr)
            return -1;
        protocol->Addresses->IPv4Addresses = addresses;
        addresses->IPv4Address = document.make<io__IPv4Address>();
        return addresses->IPv4Address != nullptr ? 0 : -1;
    }
    protocol->__union_Protocol = SOAP_UNION__io__union_Protocol_dd__IPv6;
    auto *addresses = document.make<io__IPv6Addresses>();
    protocol->Addresses->IPv6Addresses = addresses;
    const StatusBlock block(Refresh::settings);
    const uint32_t count = address_count(block, interface_number(id));
    return addresses != nullptr && prepare_ipv6_addresses(document, *addresses, count) ? 0 : -1;
}

int32_t Protocol_all_part2(int32_t number) {
    const Interface id = interface_number(number);
    varn::write_document<io__Protocols>(
        varn::namespaced_get, "/tmp/xml_tickets/IoMgmt/Protocols.xml",
        [&](Document &document, io__Protocols &root) {
            auto *protocols = document.make<io__Protocol>(2);
            if (protocols == nullptr ||
                varn_default__io__Protocol(document.get(), &protocols[0], 0, number) != 0 ||
                varn_default__io__Protocol(document.get(), &protocols[1], 1, number) != 0)
                return;
            // Read when the preparation's own block has gone: with two at a time the allocator
            // hands their memory back to the system after each request, and five times the time
            // goes into getting it again.
            const StatusBlock block(Refresh::settings);
            fill_ipv4(document, protocols[0], block, id);
            fill_ipv6(document, protocols[1], block, id);
            root.Protocol_ = protocols;
            root.__sizeProtocol = 2;
        });
    return 0;
}
}
