/// What a USB host is sent.

#include "tests/support/device_tree.h"
#include "varn/varn.h"

using namespace varn::test;

namespace {

std::string sent;

void remember(uint8_t *data, uint32_t length) {
    for (uint32_t i = 0; i < length; ++i)
        sent += std::to_string(data[i]) + " ";
}

TEST(UsbSenders, SendOneByteEachAndNothingWithoutACallback) {
    const struct {
        int32_t (*send)();
        const char *bytes;
        const char *log;
    } rows[] = {
        {send_usb_kick, "0 ", ""},
        {[] { return send_usb_kick_entry(77); }, "0 ", ""},
        {[] { return send_usb_kick_with_WJAContent(0); }, "0 ",
         "send_usb_kick_with_WJAContent >>>>>>>>>is_duplex=0\n"},
        {[] { return send_usb_kick_with_WJAContent(2); }, "1 ",
         "send_usb_kick_with_WJAContent >>>>>>>>>is_duplex=2\n"},
        {send_usb_delete_notify, "1 ", "send_usb_delete_notify>>>>>>>>>>>\n"},
    };
    for (const bool registered : {true, false}) {
        VARN_SetUSBIntrCB(registered ? reinterpret_cast<void *>(remember) : nullptr);
        for (const auto &row : rows) {
            sent.clear();
            const std::string log = log_of([&] { EXPECT_EQ(row.send(), 0); });
            EXPECT_EQ(sent, registered ? row.bytes : "");
            EXPECT_TRUE(log.starts_with(std::string(row.log) + "Get USBIntr as ")) << log;
        }
    }
}

} // namespace
