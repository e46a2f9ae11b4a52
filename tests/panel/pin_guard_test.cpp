#include "device/web/pin_guard.h"

#include <gtest/gtest.h>

namespace varn::web {
namespace {

using namespace std::chrono_literals;
using Verdict = PinGuard::Verdict;

TEST(PinGuard, ComparesAsMuchAsTheEngineKeeps) {
    struct Case {
        const char *recorded;
        const char *given;
        bool same;
    };
    constexpr Case cases[] = {
        {"4711", "4711", true},
        {"4711", "4712", false},
        {"4711", "471", false},
        {"4711", "47110", false},
        {"4711", "", false},
        {"123456789012345", "1234567890123456", true},
        {"123456789012345", "12345678901234", false},
    };
    for (const Case &row : cases)
        EXPECT_EQ(is_same_pin(row.recorded, row.given), row.same) << row.given;
}

TEST(PinGuard, EachWrongTryDoublesTheDelayUpToALimit) {
    PinGuard guard;
    PinGuard::Clock::time_point now{};
    for (const int delay : {1, 2, 4, 8, 16, 32, 60, 60}) {
        const auto wrong = guard.check("job", "4711", "0000", now);
        EXPECT_EQ(wrong.verdict, Verdict::wrong);
        EXPECT_EQ(wrong.retry_after_s, delay);
        now += std::chrono::seconds(delay) - 1ms;
        const auto early = guard.check("job", "4711", "4711", now);
        EXPECT_EQ(early.verdict, Verdict::too_soon) << "even the right one";
        EXPECT_EQ(early.retry_after_s, 1);
        now += 1ms;
    }
    EXPECT_EQ(guard.check("other", "4711", "4711", now).verdict, Verdict::right);
    EXPECT_EQ(guard.check("job", "4711", "4711", now).verdict, Verdict::right);
    EXPECT_EQ(guard.check("job", "4711", "0000", now).retry_after_s, 1) << "begins again";
    guard.check("gone", "4711", "0000", now);
    guard.forget_all_but([](const std::string &job) { return job == "job"; });
    EXPECT_EQ(guard.locked_for_s("job", now), 1);
    EXPECT_EQ(guard.locked_for_s("gone", now), 0);
}

} // namespace
} // namespace varn::web
