/// Interrupts from the library to the listeners of the USB port.

#include "device/web/usb_channel.h"

#include "varn/events.h"
#include "varn/frame.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace varn::web {
namespace {

using namespace std::chrono_literals;

TEST(UsbChannel, EveryListenerGetsWhatComesWhileItListens) {
    UsbChannel channel;
    send_usb_kick();
    auto first = std::make_unique<UsbChannel::Listener>(channel);
    send_usb_delete_notify();
    UsbChannel::Listener second(channel);
    std::uint8_t bytes[100] = {7, 8, 9};
    VARN_USBIntr(bytes, 3);
    VARN_USBIntr(bytes, sizeof bytes);

    auto got = first->wait(0ms);
    ASSERT_TRUE(got);
    EXPECT_EQ(got->number, 2U);
    EXPECT_EQ(got->bytes, std::vector<std::uint8_t>{1});
    for (auto *listener : {first.get(), &second}) {
        got = listener->wait(0ms);
        ASSERT_TRUE(got);
        EXPECT_EQ(got->number, 3U);
        EXPECT_EQ(got->bytes, (std::vector<std::uint8_t>{7, 8, 9}));
        got = listener->wait(0ms);
        ASSERT_TRUE(got);
        EXPECT_EQ(got->bytes.size(), UsbChannel::max_bytes);
        EXPECT_FALSE(listener->wait(0ms));
    }
}

TEST(UsbChannel, ASlowListenerLosesTheOldestAndSeesTheGap) {
    UsbChannel channel;
    UsbChannel::Listener listener(channel);
    for (std::size_t i = 0; i < UsbChannel::max_queued + 5; ++i)
        send_usb_kick();
    EXPECT_EQ(listener.wait(0ms)->number, 6U);
}

TEST(UsbChannel, PlacesAreFewAndComeFree) {
    UsbChannel channel;
    std::vector<std::unique_ptr<UsbChannel::Listener>> listeners;
    for (std::size_t i = 0; i < UsbChannel::max_listeners; ++i)
        EXPECT_TRUE(*listeners.emplace_back(std::make_unique<UsbChannel::Listener>(channel)));
    EXPECT_FALSE(UsbChannel::Listener(channel));
    send_usb_kick();
    listeners.erase(listeners.begin() + 1);
    UsbChannel::Listener next(channel);
    ASSERT_TRUE(next);
    EXPECT_FALSE(next.wait(0ms)) << "what came before is not for it";
}

TEST(UsbChannel, AWaitEndsWithAnInterruptOrWithTheChannel) {
    UsbChannel channel;
    UsbChannel::Listener listener(channel);
    std::thread library([] { send_usb_kick(); });
    EXPECT_TRUE(listener.wait(10s));
    library.join();
    std::thread end([&] { channel.shut_down(); });
    EXPECT_FALSE(listener.wait(10s));
    end.join();
    EXPECT_TRUE(channel.ended());
    EXPECT_FALSE(UsbChannel::Listener(channel));
}

TEST(UsbChannel, WithoutItTheLibraryHasNoCallback) {
    {
        const UsbChannel channel;
        EXPECT_NE(VARN_ValidUSBIntrCB(), 0);
    }
    EXPECT_EQ(VARN_ValidUSBIntrCB(), 0);
    EXPECT_EQ(send_usb_kick(), 0);
}

} // namespace
} // namespace varn::web
