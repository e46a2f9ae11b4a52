#include "device/web/page_store.h"
#include "tests/web/support/scanner_process.h"

#include <gtest/gtest.h>

namespace varn::web {
namespace {

/// The head of a JPEG of 637 by 877 points.
constexpr unsigned char jpeg[] = {0xff, 0xd8, 0xff, 0xe0, 0,    4,    1,    2, 0xff, 0xc0,
                                  0,    11,   8,    0x03, 0x6d, 0x02, 0x7d, 1, 1,    0x11};

std::span<const std::byte> bytes(std::size_t size = sizeof jpeg) {
    return std::as_bytes(std::span(jpeg, size));
}

TEST(PageStore, KeepsTheLastWholeJpegs) {
    const testing::TemporaryDirectory root;
    PageStore store(root.path());
    for (int i = 0; i < 10; ++i) {
        PageStore::Page page(store, "job");
        page.write(bytes(11)); // the frame header comes in two parts
        page.write(bytes().subspan(11));
        page.keep();
    }
    {
        PageStore::Page broken(store, "job");
        broken.write(bytes());
        PageStore::Page tiff(store, "job");
        tiff.write(std::as_bytes(std::span("II*")));
        tiff.keep();
    }
    const auto pages = store.pages();
    ASSERT_EQ(pages.size(), PageStore::max_pages);
    EXPECT_EQ(pages.front().id, 10U);
    EXPECT_EQ(pages.front().width, 637U);
    EXPECT_EQ(pages.front().height, 877U);
    EXPECT_TRUE(store.open(10));
    EXPECT_FALSE(store.open(2));
    const auto files = std::filesystem::directory_iterator(root.path() / "run/varn/panel");
    EXPECT_EQ(std::distance(begin(files), end(files)), 8);
}

TEST(PageStore, SizesAreReadFromAnyBytes) {
    for (std::size_t size = 0; size < sizeof jpeg; ++size) {
        unsigned width = 1;
        unsigned height = 1;
        read_jpeg_size(bytes(size), width, height);
        EXPECT_EQ(width, size < 17 ? 0U : 637U) << size;
    }
}

} // namespace
} // namespace varn::web
