/// The engine's ring of image blocks as the web server reads it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace varn::web {

/// One per scan: an engine that was started again has a new ring.
class RingView {
public:
    RingView() = default;
    /// Maps the ring of the engine that serves the tree `root`; empty on failure.
    explicit RingView(const std::string &root);
    RingView(RingView &&other) noexcept;
    RingView &operator=(RingView &&other) noexcept;
    ~RingView() { unmap(); }

    explicit operator bool() const { return map_ != nullptr; }
    /// The first `length` bytes of a block; empty when that is not inside the ring.
    std::span<const std::byte> block(std::uint32_t index, std::uint32_t length) const;

private:
    void unmap();

    void *map_ = nullptr;
    std::size_t size_ = 0;
    std::uint32_t block_count_ = 0;
    std::uint32_t block_size_ = 0;
    std::uint32_t first_block_ = 0;
};

} // namespace varn::web
