#include "tests/support/engine_end.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <linux/sockios.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace varn::test {

EngineEnd::EngineEnd() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    library_ = ends[0];
    engine_ = ends[1];
}

EngineEnd::~EngineEnd() {
    hang_up();
    if (slow_.joinable())
        slow_.join();
    close(engine_);
    close(library_);
}

void EngineEnd::answer(std::string_view bytes) {
    EXPECT_EQ(send(engine_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
}

void EngineEnd::answer_bytewise(std::string bytes) {
    slow_ = std::thread([this, bytes = std::move(bytes)] {
        for (const char byte : bytes) {
            int unread = send(engine_, &byte, 1, MSG_NOSIGNAL) == 1 ? 1 : 0;
            while (unread != 0 && ioctl(engine_, SIOCOUTQ, &unread) == 0 && unread != 0)
                sched_yield();
        }
    });
}

std::string EngineEnd::taken() {
    std::string bytes;
    char part[4096];
    for (ssize_t n; (n = recv(engine_, part, sizeof part, MSG_DONTWAIT)) > 0;)
        bytes.append(part, static_cast<size_t>(n));
    return bytes;
}

void EngineEnd::hang_up() { shutdown(engine_, SHUT_RDWR); }

namespace {

template <typename Number>
Number number_at(std::string_view bytes, size_t offset) {
    Number value = 0;
    memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

std::string payload_text(std::string_view payload) {
    char text[64];
    if (payload.size() > 32) {
        snprintf(text, sizeof text, " %u..%u", number_at<uint16_t>(payload, 0),
                 number_at<uint16_t>(payload, payload.size() - 2));
        return text;
    }
    std::string hex;
    for (const char byte : payload) {
        snprintf(text, sizeof text, " %02x", static_cast<uint8_t>(byte));
        hex += text;
    }
    return hex;
}

} // namespace

std::vector<std::string> action_lines(std::string_view bytes) {
    std::vector<std::string> lines;
    while (!bytes.empty()) {
        if (bytes.size() < 16 || number_at<uint32_t>(bytes, 0) != 544 || bytes[5] != 0 ||
            bytes[7] != 0 || number_at<uint16_t>(bytes, 10) != 0) {
            lines.push_back("no command, " + std::to_string(bytes.size()) + " bytes");
            break;
        }
        const auto length = number_at<uint32_t>(bytes, 12);
        const auto opcode = static_cast<uint8_t>(bytes[4]);
        char line[64];
        snprintf(line, sizeof line, "%u.%u.%u/%u", opcode, static_cast<uint8_t>(bytes[6]),
                 number_at<uint16_t>(bytes, 8), length);
        lines.emplace_back(line);
        bytes.remove_prefix(16);
        if (opcode != 42)
            continue;
        lines.back() += payload_text(bytes.substr(0, length));
        bytes.remove_prefix(std::min<size_t>(length, bytes.size()));
    }
    return lines;
}

std::string image_words(std::string_view bytes) {
    const std::string next("\x20\x02\0\0\0\0\4\0\0\0\0\0\0\0\0\0", 16);
    const std::string cancel("\x20\x02\0\0\0\0\7\0\0\0\0\0\0\0\0\0", 16);
    const std::string ack("\1\0\0\0", 4);
    std::string words;
    while (!bytes.empty()) {
        const char *word = nullptr;
        for (const auto &[pattern, name] :
             {std::pair{&next, "next"}, {&cancel, "cancel"}, {&ack, "ack"}})
            if (word == nullptr && bytes.starts_with(*pattern)) {
                word = name;
                bytes.remove_prefix(pattern->size());
            }
        words += std::string(words.empty() ? "" : " ") + (word != nullptr ? word : "?");
        if (word == nullptr)
            break;
    }
    return words;
}

namespace {

template <typename Number>
void set(std::string &bytes, size_t offset, Number value) {
    memcpy(bytes.data() + offset, &value, sizeof value);
}

} // namespace

std::string StatusRecord::bytes() const {
    std::string record(32, '\0');
    set(record, 0, last_err);
    set(record, 4, activity);
    set(record, 8, sensors);
    set(record, 22, takeover);
    set(record, 30, power_down);
    return record;
}

std::string BlockRecord::bytes() const {
    std::string record(64, '\0');
    set(record, 0, last_err);
    set(record, 6, flow);
    set(record, 11, kind);
    set(record, 16, height);
    set(record, 20, width);
    set(record, 24, bytes_per_line);
    set(record, 40, ring_size);
    set(record, 49, color);
    set(record, 56, crop_blank);
    set(record, 58, multipick);
    return record;
}

} // namespace varn::test
