#include "device/kob_common/exchange.h"

#include "device/wire/local_socket.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <sys/socket.h>

namespace varn::kob {
namespace {

constexpr std::int64_t exchange_limit_ms = 10000;

std::mutex link_mutex;
std::uint32_t last_sequence = 0;
std::atomic<unsigned long> broken = 0;

bool send_request(int fd, const wire::LinkRequest &request, std::span<const std::byte> in,
                  std::int64_t deadline) {
    return wire::send_all(fd, &request, sizeof request, deadline) == wire::Transfer::done &&
           wire::send_all(fd, in.data(), in.size(), deadline) == wire::Transfer::done;
}

/// The payload goes to `landing` first: the caller's buffer must stay as it is if the engine
/// vanishes half-way through it.
bool receive_reply(int fd, std::uint32_t sequence, wire::LinkReply &reply,
                   std::span<std::byte> landing, std::int64_t deadline) {
    if (wire::receive_all(fd, &reply, sizeof reply, deadline) != wire::Transfer::done)
        return false;
    const std::size_t expected = reply.result < 0 ? 0 : landing.size();
    return reply.dwMagic == wire::link_reply_magic && reply.dwSequence == sequence &&
           reply.dwLength == expected &&
           wire::receive_all(fd, landing.data(), expected, deadline) == wire::Transfer::done;
}

} // namespace

std::int32_t exchange(std::uint32_t fd, wire::LinkOperation operation,
                      std::initializer_list<std::uint64_t> args, std::span<const std::byte> in,
                      std::span<std::byte> out) {
    if (in.size() > wire::link_max_payload || out.size() > wire::link_max_payload)
        return wire::link_refused;
    const std::unique_ptr<std::byte[]> landing(new (std::nothrow) std::byte[out.size() + 1]);
    if (!landing)
        return wire::link_refused;

    const std::lock_guard lock(link_mutex);
    // The owner may put a new connection under the same number at any moment; an exchange stays
    // on the connection that it began on.
    const wire::Descriptor link(fcntl(static_cast<int>(fd), F_DUPFD_CLOEXEC, 3));
    if (!link) {
        ++broken;
        return wire::link_refused;
    }

    wire::LinkRequest request;
    request.dwMagic = wire::link_request_magic;
    request.dwSequence = ++last_sequence;
    request.wOperation = static_cast<std::uint16_t>(operation);
    request.dwLength = static_cast<std::uint32_t>(in.size());
    std::copy(args.begin(), args.end(), request.args);

    const std::int64_t deadline = wire::now_ms() + exchange_limit_ms;
    wire::LinkReply reply;
    if (!send_request(link.get(), request, in, deadline) ||
        !receive_reply(link.get(), last_sequence, reply, {landing.get(), out.size()}, deadline)) {
        // What is left of this exchange would be taken for the next one's reply.
        shutdown(link.get(), SHUT_RDWR);
        ++broken;
        return wire::link_refused;
    }
    if (reply.result >= 0 && !out.empty())
        std::memcpy(out.data(), landing.get(), out.size());
    return reply.result;
}

unsigned long broken_exchanges() { return broken; }

} // namespace varn::kob
