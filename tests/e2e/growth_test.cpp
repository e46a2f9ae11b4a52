/// A scanner that runs for long holds no more than at its start.

#include "tests/e2e/e2e_fixture.h"

namespace varn::testing {
namespace {

class Growth : public ScannerTest {
protected:
    void scan(int times) {
        for (int i = 0; i < times; ++i) {
            const bool feeder = i % 4 == 0;
            if (feeder) {
                ASSERT_TRUE(scanner_.ctl({"feeder", "load", "1"}));
            }
            const Job job = start(small_scan(feeder ? "feeder" : "flatbed"));
            ASSERT_EQ(job.status, 201) << i;
            ASSERT_EQ(next_document(job).status, 200) << i;
            if (i % 5 == 0) {
                EXPECT_EQ(http_.del(job.location).status, 200);
            } else {
                EXPECT_EQ(next_document(job).status, 404) << i;
            }
        }
    }

    /// What the process holds once it is back at `before`, or in the end.
    Holdings settled(pid_t pid, const Holdings &before, int given_up_after_ms) {
        Holdings now;
        eventually(
            [&] {
                now = holdings_of(pid);
                return now.descriptors <= before.descriptors && now.threads <= before.threads;
            },
            given_up_after_ms);
        return now;
    }
};

TEST_F(Growth, AHundredScansLeaveNothingBehind) {
    scan(10);
    const pid_t engine = scanner_.engine_pid();
    const Holdings server_before = settled(scanner_.pid(), {}, 3000);
    const Holdings engine_before = settled(engine, {}, 3000);
    scan(100);
    ASSERT_EQ(scanner_.engine_pid(), engine) << "the engine was started again";
    const struct {
        const char *name;
        Holdings before;
        Holdings after;
    } rows[] = {{"varnd", server_before, settled(scanner_.pid(), server_before, 8000)},
                {"varn-engine", engine_before, settled(engine, engine_before, 8000)}};
    for (const auto &row : rows) {
        EXPECT_LE(row.after.descriptors, row.before.descriptors) << row.name;
        // One thread comes and goes with the clock; one that each scan left would make a hundred.
        EXPECT_LE(row.after.threads, row.before.threads + 2) << row.name;
        RecordProperty(std::string(row.name) + "_before_kib",
                       static_cast<int>(row.before.resident_kib));
        RecordProperty(std::string(row.name) + "_after_kib",
                       static_cast<int>(row.after.resident_kib));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which keep freed memory
        EXPECT_LE(row.after.resident_kib, row.before.resident_kib + 2048) << row.name;
#endif
    }
}

} // namespace
} // namespace varn::testing
