#include "tests/support/device_tree.h"

#include "varn/base.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace varn::test {

DeviceTree::DeviceTree() {
    std::string name = (fs::temp_directory_path() / "varn-test-XXXXXX").string();
    root_ = mkdtemp(name.data());
    fs::copy(VARN_ROOTFS_DIR, root_, fs::copy_options::recursive);
    if (VARN_SetRoot(root_.c_str()) != 0)
        ADD_FAILURE() << "no device tree at " << root_;
}

DeviceTree::~DeviceTree() {
    VARN_SetRoot(nullptr);
    std::error_code ignored;
    fs::remove_all(root_, ignored);
}

void DeviceTree::put(std::string_view path, std::string_view content) const {
    fs::create_directories((root_ / path).parent_path());
    std::ofstream file(root_ / path, std::ios::binary);
    file << content;
    EXPECT_TRUE(file.flush()) << path;
}

std::string DeviceTree::get(std::string_view path) const {
    std::ifstream file(root_ / path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

void DeviceTree::replace(std::string_view path, std::string_view from, std::string_view to) const {
    std::string content = get(path);
    size_t at = content.find(from);
    EXPECT_NE(at, content.npos) << from << " is not in " << path;
    for (; at != content.npos; at = content.find(from, at + to.size()))
        content.replace(at, from.size(), to);
    put(path, content);
}

void DeviceTree::put_power(uint32_t sleep, uint32_t auto_off) const {
    const uint32_t words[4] = {0x11223344, 0, sleep, auto_off};
    put("datafs/kobnvram.bin", {reinterpret_cast<const char *>(words), sizeof words});
}

NvramBytes &NvramBytes::text(size_t offset, std::string_view s) {
    bytes.replace(offset, s.size(), s);
    return *this;
}

NvramBytes &NvramBytes::number(size_t offset, uint64_t value, size_t width) {
    for (size_t i = 0; i < width; ++i)
        bytes.at(offset + i) = static_cast<char>(value >> (8 * i));
    return *this;
}

NvramBytes NvramBytes::sample() {
    return NvramBytes()
        .number(12, 3, 1)
        .number(13, 5, 1)
        .number(14, 14, 1)
        .text(25, "CN12345678")
        .text(35, "not of the serial")
        .number(76, 4, 4)
        .text(176, "Desk 7")
        .text(241, "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab");
}

} // namespace varn::test
