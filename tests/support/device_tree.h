/// A device tree of its own for each test, copied from the one that the build assembles.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace varn::test {

/// Where the library works while this object lives. Paths are the device's, without the slash.
class DeviceTree {
public:
    DeviceTree();
    ~DeviceTree();
    DeviceTree(const DeviceTree &) = delete;
    DeviceTree &operator=(const DeviceTree &) = delete;

    std::filesystem::path operator/(std::string_view path) const { return root_ / path; }
    void put(std::string_view path, std::string_view content) const;
    std::string get(std::string_view path) const;
    bool has(std::string_view path) const { return exists(root_ / path); }
    void remove(std::string_view path) const { std::filesystem::remove_all(root_ / path); }
    /// Every `from` in a file becomes `to`; a text that is not there fails the test.
    void replace(std::string_view path, std::string_view from, std::string_view to) const;
    /// The power file: minutes to sleep and to auto-off.
    void put_power(uint32_t sleep, uint32_t auto_off) const;

private:
    std::filesystem::path root_;
};

/// A 288-byte table, written by offset so that the library's own record proves nothing.
struct NvramBytes {
    std::string bytes = std::string(288, '\0');

    NvramBytes &text(size_t offset, std::string_view s);
    NvramBytes &number(size_t offset, uint64_t value, size_t width);
    /// A table as a device has it: serial number, asset number, UUID, date, language.
    static NvramBytes sample();
};

/// Base of the tests: a tree, and the engine, waits and logs as a new process has them.
class DeviceTest : public testing::Test {
protected:
    DeviceTree tree;
};

/// What `call` wrote to standard output, where the library's log goes.
template <typename Call>
std::string log_of(Call call) {
    testing::internal::CaptureStdout();
    call();
    fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

} // namespace varn::test
