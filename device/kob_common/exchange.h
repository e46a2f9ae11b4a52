/// One request and its reply on the engine link.
#pragma once

#include "device/wire/link.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace varn::kob {

/// Sends the request and waits for the reply, ten seconds at most for both.
/// fd        descriptor of the link
/// in        payload of the request; at most link_max_payload bytes
/// out       filled from the reply's payload, whole, on success only
/// returns   the engine's result; -1 when the link is gone or the exchange breaks, after which
///           the connection is shut down
std::int32_t exchange(std::uint32_t fd, wire::LinkOperation operation,
                      std::initializer_list<std::uint64_t> args, std::span<const std::byte> in = {},
                      std::span<std::byte> out = {});

/// Exchanges of this process that found no link or broke off.
unsigned long broken_exchanges();

} // namespace varn::kob
