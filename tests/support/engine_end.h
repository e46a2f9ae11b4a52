/// The engine's end of a local socket whose other end the library holds.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace varn::test {

/// Answers are put in before they are asked for; what the library wrote is taken out afterwards.
class EngineEnd {
public:
    EngineEnd();
    ~EngineEnd();
    EngineEnd(const EngineEnd &) = delete;
    EngineEnd &operator=(const EngineEnd &) = delete;

    int library_fd() const { return library_; }
    void answer(std::string_view bytes);
    /// Each byte comes alone: the next one when the library has taken it.
    void answer_bytewise(std::string bytes);
    /// What the library wrote since the last call.
    std::string taken();
    void hang_up();

private:
    int library_ = -1;
    int engine_ = -1;
    std::thread slow_;
};

/// Commands on the action socket, one line each: opcode.sub-command.selector/length, then the
/// payload of a write in hexadecimal, or its first and last number when it is long.
std::vector<std::string> action_lines(std::string_view bytes);
/// Words on the image socket: "next", "cancel", "ack".
std::string image_words(std::string_view bytes);

/// 32-byte status of the engine.
struct StatusRecord {
    uint32_t last_err = 0;
    uint16_t activity = 0;
    uint16_t sensors = 2;
    uint8_t takeover = 0;
    uint8_t power_down = 0;
    std::string bytes() const;
};

/// 64-byte block record of the image socket.
struct BlockRecord {
    uint32_t last_err = 0;
    uint8_t flow = 0;
    uint32_t ring_size = 8;
    uint8_t kind = 1;
    uint32_t height = 3300, width = 2550, bytes_per_line = 7650;
    uint8_t color = 0;
    uint16_t crop_blank = 0;
    uint8_t multipick = 0;
    std::string bytes() const;
};

} // namespace varn::test
