#include "device/web/usb_channel.h"

#include "device/web/handlers.h"
#include "device/web/interfaces.h"
#include "varn/frame.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace varn::web {
namespace {

using namespace std::chrono_literals;

/// A listener that has gone is noticed when something is written to it.
constexpr auto heartbeat = 1s;

/// The library's callback takes no argument of ours. The mutex keeps the channel while one runs.
std::mutex registered_mutex;
UsbChannel *registered = nullptr;

bool write_text(ImageSink &sink, std::string_view text) {
    return sink.write(std::as_bytes(std::span(text)));
}

/// The bytes as hexadecimal digits.
std::string event_text(const UsbInterrupt &interrupt) {
    std::string text = "event: interrupt\nid: " + std::to_string(interrupt.number) + "\ndata: ";
    for (const std::uint8_t byte : interrupt.bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text + "\n\n";
}

} // namespace

UsbChannel::UsbChannel() {
    const std::lock_guard lock(registered_mutex);
    registered = this;
    VARN_SetUSBIntrCB(reinterpret_cast<void *>(take));
}

UsbChannel::~UsbChannel() {
    const std::lock_guard lock(registered_mutex);
    if (registered != this)
        return;
    VARN_SetUSBIntrCB(nullptr);
    registered = nullptr;
}

void UsbChannel::take(std::uint8_t *data, std::uint32_t length) {
    const std::lock_guard lock(registered_mutex);
    if (registered && data)
        registered->deliver({data, std::min<std::size_t>(length, max_bytes)});
}

void UsbChannel::deliver(std::span<const std::uint8_t> bytes) {
    const std::lock_guard lock(mutex_);
    ++last_number_;
    for (Place &place : places_) {
        if (!place.taken)
            continue;
        if (place.queue.size() == max_queued)
            place.queue.pop_front();
        place.queue.push_back({last_number_, {bytes.begin(), bytes.end()}});
    }
    changed_.notify_all();
}

UsbChannel::Listener::Listener(UsbChannel &channel) : channel_(channel), queue_(nullptr) {
    const std::lock_guard lock(channel_.mutex_);
    const auto free = std::ranges::find(channel_.places_, false, &Place::taken);
    if (free == channel_.places_.end() || channel_.ended_)
        return;
    free->taken = true;
    queue_ = &free->queue;
}

UsbChannel::Listener::~Listener() {
    const std::lock_guard lock(channel_.mutex_);
    for (Place &place : channel_.places_)
        if (&place.queue == queue_) {
            place.taken = false;
            place.queue.clear();
        }
}

std::optional<UsbInterrupt> UsbChannel::Listener::wait(std::chrono::milliseconds limit) {
    std::unique_lock lock(channel_.mutex_);
    channel_.changed_.wait_for(lock, limit, [this] { return channel_.ended_ || !queue_->empty(); });
    if (channel_.ended_ || queue_->empty())
        return std::nullopt;
    UsbInterrupt next = std::move(queue_->front());
    queue_->pop_front();
    return next;
}

bool UsbChannel::ended() const {
    const std::lock_guard lock(mutex_);
    return ended_;
}

void UsbChannel::shut_down() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

std::optional<Response> usb_interrupts(Device &device, const Request &request, ImageSink &sink) {
    if (request.interface != Interface::usb)
        return error_response(404, "only the USB interface has it");
    UsbChannel &channel = device.usb_channel();
    UsbChannel::Listener listener(channel);
    if (!listener)
        return error_response(503, "too many listeners");
    bool open = sink.begin("text/event-stream") && write_text(sink, ": listening\n\n");
    while (open && !channel.ended() && has_link(device.root(), Interface::usb)) {
        const std::optional<UsbInterrupt> interrupt = listener.wait(heartbeat);
        open = write_text(sink, interrupt ? event_text(*interrupt) : ":\n\n");
    }
    if (open)
        sink.end();
    return std::nullopt;
}

} // namespace varn::web
