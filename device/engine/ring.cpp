#include "device/engine/ring.h"

#include "device/wire/local_socket.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace varn::engine {
namespace {

constexpr std::uint32_t first_block = 4096;
constexpr std::size_t ring_size = first_block + std::size_t{ring_block_size} * ring_block_count;

} // namespace

Ring::Ring(const std::filesystem::path &file) : file_(file) {
    unlink(file.c_str());
    const wire::Descriptor fd(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    // Space is reserved now: a full disk would otherwise end the process on the first write.
    const int error = fd ? posix_fallocate(fd.get(), 0, ring_size) : errno;
    void *map = MAP_FAILED;
    if (error == 0)
        map = mmap(nullptr, ring_size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (map == MAP_FAILED)
        throw std::runtime_error("cannot make " + file.string() + ": " +
                                 std::strerror(error ? error : errno));
    map_ = static_cast<std::uint8_t *>(map);

    wire::RingHeader header;
    header.dwMagic = wire::ring_magic;
    header.dwBlockCount = ring_block_count;
    header.dwBlockSize = ring_block_size;
    header.dwFirstBlock = first_block;
    std::memcpy(map_, &header, sizeof header);
}

Ring::~Ring() {
    munmap(map_, ring_size);
    unlink(file_.c_str());
}

std::span<std::uint8_t> Ring::block(std::uint32_t index) {
    return {map_ + first_block + std::size_t{ring_block_size} * (index % ring_block_count),
            ring_block_size};
}

} // namespace varn::engine
