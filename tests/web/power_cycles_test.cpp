#include "device/web/power_cycles.h"

#include "tests/web/support/scanner_process.h"

#include <fstream>
#include <gtest/gtest.h>

namespace varn::web {
namespace {

TEST(PowerCycles, GoOnFromTheFileAndFromOneWithoutOne) {
    const testing::TemporaryDirectory root;
    const std::filesystem::path file = root.path() / "var/power-cycles";
    EXPECT_EQ(count_power_cycle(root.path()), 1) << "it cannot be kept";
    std::filesystem::create_directory(root.path() / "var");
    EXPECT_EQ(count_power_cycle(root.path()), 1);
    EXPECT_EQ(count_power_cycle(root.path()), 2);
    const struct {
        const char *content;
        int next;
    } rows[] = {{"", 1}, {"x", 1}, {"-5", 1}, {"41\n", 42}, {"99999999999", 1}, {"1000000000", 1}};
    for (const auto &row : rows) {
        std::ofstream(file) << row.content;
        EXPECT_EQ(count_power_cycle(root.path()), row.next) << row.content;
    }
}

} // namespace
} // namespace varn::web
