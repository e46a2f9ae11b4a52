/// The example of a server of one's own, beside a device that is there already.

#include "tests/web/support/scanner_process.h"

#include <gtest/gtest.h>

namespace varn::testing {
namespace {

TEST(Embed, TheExamplePrintsDiscoveryAndCapabilities) {
    ScannerProcess scanner({"--no-engine"});
    ASSERT_TRUE(scanner.ready()) << scanner.output_rest();
    ASSERT_EQ(scanner.stop(), 0);
    const ProgramResult result = run_program({EMBED_PROGRAM, scanner.root()});
    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_NE(result.output.find("<varn:DiscoveryTree"), std::string::npos);
    EXPECT_NE(result.output.find("<scan:ScannerCapabilities"), std::string::npos);
    EXPECT_NE(run_program({EMBED_PROGRAM, "/nowhere"}).status, 0);
}

} // namespace
} // namespace varn::testing
