/// Notifications of a host over USB.

#include "varn/events.h"
#include "varn/frame.h"

#include <cstdio>
#include <cstring>

namespace {

/// Each notification has room for eight bytes, of which the first goes out.
void send_first_of(uint8_t byte) {
    uint8_t notification[8];
    memset(notification, byte, sizeof notification);
    VARN_USBIntr(notification, 1);
}

} // namespace

int32_t send_usb_kick(void) {
    send_first_of(0);
    return 0;
}

int32_t send_usb_kick_entry(uint32_t) { return send_usb_kick(); }

int32_t send_usb_kick_with_WJAContent(int32_t is_duplex) {
    printf("%s >>>>>>>>>is_duplex=%d\n", __func__, is_duplex);
    send_first_of(is_duplex != 0 ? 1 : 0);
    return 0;
}

int32_t send_usb_delete_notify(void) {
    printf("%s>>>>>>>>>>>\n", __func__);
    send_first_of(1);
    return 0;
}
