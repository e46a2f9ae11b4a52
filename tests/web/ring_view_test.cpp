#include "device/web/ring_view.h"

#include "device/wire/places.h"
#include "device/wire/ring.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace varn::web {
namespace {

class RingViewTest : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "varn-ring-XXXXXX";
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        root_ = name;
        std::filesystem::create_directories(root_ + wire::run_dir);
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    void write_ring(std::uint32_t magic, std::uint32_t count, std::uint32_t size,
                    std::uint32_t first, std::size_t file_size) {
        wire::RingHeader header;
        header.dwMagic = magic;
        header.dwBlockCount = count;
        header.dwBlockSize = size;
        header.dwFirstBlock = first;
        std::string bytes(file_size, '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i);
        std::memcpy(bytes.data(), &header, std::min(sizeof header, bytes.size()));
        std::ofstream(root_ + wire::ring_file, std::ios::binary) << bytes;
    }

    std::string root_;
};

TEST_F(RingViewTest, GivesBlocksInsideTheRingOnly) {
    write_ring(wire::ring_magic, 4, 32, 64, 64 + 4 * 32);
    const RingView ring(root_);
    ASSERT_TRUE(ring);
    const auto block = ring.block(3, 32);
    ASSERT_EQ(block.size(), 32U);
    EXPECT_EQ(block.front(), static_cast<std::byte>(64 + 3 * 32));
    EXPECT_TRUE(ring.block(4, 1).empty());
    EXPECT_TRUE(ring.block(0, 33).empty());
    EXPECT_TRUE(ring.block(0xffffffff, 32).empty());
    EXPECT_TRUE(ring.block(0, 0xffffffff).empty());
}

TEST_F(RingViewTest, RefusesAFileThatIsNoRing) {
    EXPECT_FALSE(RingView(root_)) << "no file";
    const struct {
        const char *name;
        std::uint32_t magic, count, size, first;
        std::size_t file_size;
    } rows[] = {
        {"too short for its head", wire::ring_magic, 0, 0, 16, 15},
        {"other magic", 1, 4, 32, 64, 192},
        {"blocks beyond the file", wire::ring_magic, 4, 32, 64, 191},
        {"first block inside the head", wire::ring_magic, 4, 32, 8, 192},
        {"count times size overflows", wire::ring_magic, 0x10000000, 0x10, 64, 192},
        {"largest numbers", wire::ring_magic, 0xffffffff, 0xffffffff, 0xffffffff, 192},
    };
    for (const auto &row : rows) {
        write_ring(row.magic, row.count, row.size, row.first, row.file_size);
        EXPECT_FALSE(RingView(root_)) << row.name;
    }
}

} // namespace
} // namespace varn::web
