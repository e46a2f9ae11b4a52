#include "device/web/body_reader.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

namespace varn::web {
namespace {

using namespace std::chrono_literals;

constexpr BodyLimits limits = {1000, 500ms};

/// Gives `text`, then `end`.
ReadBody give(std::string text, int end) {
    return
        [text = std::move(text), end, at = std::size_t{0}](char *buffer, std::size_t size) mutable {
            const std::size_t n = std::min(size, text.size() - at);
            std::memcpy(buffer, text.data() + at, n);
            at += n;
            return n > 0 ? static_cast<int>(n) : end;
        };
}

TEST(BodyReader, TakesAWholeBodyAndRefusesWhatIsTooLarge) {
    const std::string fits(1000, 'x');
    const std::string large(1001, 'x');
    const struct {
        const char *name;
        ReadBody read;
        BodyFraming framing;
        int status;
        std::size_t size;
    } rows[] = {
        {"length", give(fits, -1), {false, 1000}, 0, 1000},
        {"empty", give("", -1), {false, 0}, 0, 0},
        {"chunks", give(fits, 0), {true, {}}, 0, 1000},
        {"no chunk", give("", 0), {true, {}}, 0, 0},
        {"length beyond the limit is not read", give("", -1), {false, 1001}, 413, 0},
        {"chunks beyond the limit", give(large, 0), {true, {}}, 413, 1001},
        {"broken chunk", give("abc", -1), {true, {}}, 400, 3},
        {"cut off", give("abc", -1), {false, 10}, 408, 3},
        {"cut off cleanly", give("abc", 0), {false, 10}, 408, 3},
    };
    for (const auto &row : rows) {
        std::string body;
        EXPECT_EQ(read_body(row.read, row.framing, limits, body), row.status) << row.name;
        EXPECT_LE(body.size(), row.size + 64) << row.name;
        if (row.status == 0) {
            EXPECT_EQ(body.size(), row.size) << row.name;
        }
    }
}

TEST(BodyReader, ATricklingClientRunsOutOfTime) {
    const ReadBody slow = [](char *buffer, std::size_t size) {
        std::this_thread::sleep_for(20ms * size);
        std::memset(buffer, 'x', size);
        return static_cast<int>(size);
    };
    const auto began = std::chrono::steady_clock::now();
    std::string body;
    EXPECT_EQ(read_body(slow, {false, 900}, limits, body), 408);
    EXPECT_LT(std::chrono::steady_clock::now() - began, 3s);
}

} // namespace
} // namespace varn::web
