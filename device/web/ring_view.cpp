#include "device/web/ring_view.h"

#include "device/wire/local_socket.h"
#include "device/wire/places.h"
#include "device/wire/ring.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <utility>

namespace varn::web {

RingView::RingView(const std::string &root) {
    const wire::Descriptor file(open((root + wire::ring_file).c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    if (!file || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
        static_cast<std::size_t>(info.st_size) < sizeof(wire::RingHeader))
        return;
    size_ = static_cast<std::size_t>(info.st_size);
    void *map = mmap(nullptr, size_, PROT_READ, MAP_SHARED, file.get(), 0);
    if (map == MAP_FAILED)
        return;
    map_ = map;

    wire::RingHeader header;
    std::memcpy(&header, map, sizeof header);
    block_count_ = header.dwBlockCount;
    block_size_ = header.dwBlockSize;
    first_block_ = header.dwFirstBlock;
    const std::uint64_t end = first_block_ + static_cast<std::uint64_t>(block_count_) * block_size_;
    if (header.dwMagic != wire::ring_magic || first_block_ < sizeof header || end > size_)
        unmap();
}

RingView::RingView(RingView &&other) noexcept
    : map_(std::exchange(other.map_, nullptr)), size_(other.size_),
      block_count_(other.block_count_), block_size_(other.block_size_),
      first_block_(other.first_block_) {}

RingView &RingView::operator=(RingView &&other) noexcept {
    if (this != &other) {
        unmap();
        map_ = std::exchange(other.map_, nullptr);
        size_ = other.size_;
        block_count_ = other.block_count_;
        block_size_ = other.block_size_;
        first_block_ = other.first_block_;
    }
    return *this;
}

std::span<const std::byte> RingView::block(std::uint32_t index, std::uint32_t length) const {
    if (!map_ || index >= block_count_ || length > block_size_)
        return {};
    const std::size_t offset = first_block_ + static_cast<std::size_t>(index) * block_size_;
    return {static_cast<const std::byte *>(map_) + offset, length};
}

void RingView::unmap() {
    if (map_)
        munmap(map_, size_);
    map_ = nullptr;
}

} // namespace varn::web
