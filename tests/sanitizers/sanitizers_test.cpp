/// Proof that the sanitizers of a build are on: each provokes a fault that only its sanitizer sees.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <thread>

namespace varn::testing {
namespace {

bool build_has(std::string_view sanitizer) {
    return std::string_view(VARN_SANITIZE).find(sanitizer) != std::string_view::npos;
}

class Sanitizers : public ::testing::Test {
protected:
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        // The reports of these faults belong to the test, not among those of the test run.
        for (const char *options : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"})
            setenv(options, "halt_on_error=1", 1);
    }
};

[[noreturn]] void leave(int value) { std::_Exit(value == 12345 ? 1 : 0); }

void read_past_the_end() {
    const auto bytes = std::make_unique<volatile char[]>(16); // or the compiler drops the read
    const volatile std::size_t past = 16;
    leave(bytes[past]);
}

void overflow() {
    volatile int value = std::numeric_limits<int>::max();
    value = value + 1;
    leave(value);
}

int raced = 0;

[[gnu::noinline]] void add_to(int &number) { ++number; }

void race() {
    std::thread other([] { add_to(raced); });
    add_to(raced);
    other.join();
    leave(raced);
}

void expect_fault(std::string_view sanitizer, void (*provoke)(), const char *report) {
    if (build_has(sanitizer)) {
        EXPECT_DEATH(provoke(), report);
    } else if (sanitizer != "address") { // whose fault is one in any build
        EXPECT_EXIT(provoke(), ::testing::ExitedWithCode(0), "") << "a sanitizer nobody asked for";
    }
}

TEST_F(Sanitizers, AReadPastTheEndEndsTheProcess) {
    expect_fault("address", read_past_the_end, "AddressSanitizer: heap-buffer-overflow");
}

TEST_F(Sanitizers, AnOverflowEndsTheProcess) {
    expect_fault("undefined", overflow, "runtime error: signed integer overflow");
}

TEST_F(Sanitizers, ARaceEndsTheProcess) {
    expect_fault("thread", race, "ThreadSanitizer: data race");
}

TEST(Instrumentation, LibraryServerAndEngineHaveWhatTheBuildAsksFor) {
    constexpr struct {
        const char *sanitizer;
        const char *symbol; ///< called by instrumented code
    } rows[] = {{"address", "__asan_report_load"},
                {"undefined", "__ubsan_handle_"},
                {"thread", "__tsan_func_entry"}};
    for (const char *name : {LIBVARN_FILE, VARND_PROGRAM, ENGINE_PROGRAM}) {
        std::string bytes(std::filesystem::file_size(name), '\0');
        ASSERT_TRUE(std::ifstream(name, std::ios::binary)
                        .read(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            << name;
        for (const auto &row : rows)
            EXPECT_EQ(bytes.find(row.symbol) != std::string::npos, build_has(row.sanitizer))
                << name << ", " << row.sanitizer;
    }
}

/// A preset that lost its sanitizer would take the proofs above with it.
TEST(Presets, AskForTheSanitizersOfTheirNames) {
    const struct {
        std::string preset;
        std::string sanitizers;
    } rows[] = {{"default", ""}, {"asan", "address,undefined"}, {"tsan", "thread"}};
    const auto presets = nlohmann::json::parse(std::ifstream(PRESETS_FILE));
    for (const auto &row : rows) {
        bool found = false;
        for (const auto &preset : presets["configurePresets"]) {
            if (preset["name"] != row.preset)
                continue;
            found = true;
            EXPECT_EQ(preset["cacheVariables"].value("VARN_SANITIZE", ""), row.sanitizers)
                << row.preset;
        }
        EXPECT_TRUE(found) << row.preset;
    }
}

} // namespace
} // namespace varn::testing
