/// Parameter blocks of the engine that more than one resource reads and writes. Everything that a
/// resource does not name goes back as it was read.
#pragma once

#include "platform/mvtc.h"
#include "varn/frame.h"

#include <cstddef>
#include <cstdint>

namespace varn {

/// Block 4: switches of the web services and the network applications. One byte each, 1 is on.
struct WebParameters {
    uint8_t reserved0[3];
    uint8_t snmp;
    uint8_t reserved4;
    uint8_t ws_discovery;
    uint8_t reserved6[11];
    uint8_t sharepoint_enabled;
    uint8_t reserved18[6];
    uint8_t dhcpv6;
    uint8_t auto_wireless;
    uint8_t reserved26;
    uint8_t escl_enabled;
    uint8_t reserved28[76];
    char service_name[68]; ///< terminated
    char ews_password[40]; ///< terminated; empty for none
};
static_assert(sizeof(WebParameters) == 212 && offsetof(WebParameters, snmp) == 3 &&
              offsetof(WebParameters, ws_discovery) == 5 &&
              offsetof(WebParameters, sharepoint_enabled) == 17 &&
              offsetof(WebParameters, dhcpv6) == 24 &&
              offsetof(WebParameters, escl_enabled) == 27 &&
              offsetof(WebParameters, service_name) == 104 &&
              offsetof(WebParameters, ews_password) == 172);

template <typename Block>
bool read_block(Block &block, uint32_t id) {
    return mvtc_read_h1_parameter(static_cast<uint32_t>(varn_mvt_fd), &block, sizeof block, id) >=
           0;
}

template <typename Block>
void write_block(const Block &block, uint32_t id) {
    mvtc_write_h1_parameter(static_cast<uint32_t>(varn_mvt_fd), &block, sizeof block, id);
}

} // namespace varn
