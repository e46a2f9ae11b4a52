/// Talking to the engine's local sockets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "varn/escl_scan.h"

namespace varn {

constexpr uint32_t action_signature = 544;

/// Opcodes and sub-commands of the action socket.
constexpr uint8_t op_inquire = 18;
constexpr uint8_t op_control = 20;
constexpr uint8_t op_read = 40;
constexpr uint8_t op_write = 42;
constexpr uint8_t sub_status = 2;
constexpr uint8_t sub_stop = 6;
constexpr uint8_t sub_gamma_table = 12;
constexpr uint8_t sub_color_matrix = 13;
constexpr uint8_t sub_gamma_str = 75;
constexpr uint8_t sub_multipick = 80;

/// Sub-commands of the image socket.
constexpr uint8_t sub_next_block = 4;
constexpr uint8_t sub_cancel = 7;

varn_action_cmd make_command(uint8_t opcode, uint8_t sub_command, uint16_t selector,
                             uint32_t length);

/// Writes all bytes; no signal when the other side is gone. False on failure.
bool write_all(int fd, const void *data, size_t size);

/// Reads until `size` bytes are there or the stream ends; returns how many came.
/// timeout_ms  the longest silence; negative waits without limit
size_t read_all(int fd, void *data, size_t size, int timeout_ms);

} // namespace varn
