/// Little-endian integers for wire records: plain bytes, so records have no padding, no alignment
/// and the same layout on every processor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace varn::wire {

template <typename Int>
class Little {
public:
    constexpr Little() = default;
    constexpr Little(Int value) { // NOLINT(google-explicit-constructor): reads like an integer
        auto bits = static_cast<std::make_unsigned_t<Int>>(value);
        for (std::size_t i = 0; i < sizeof(Int); ++i)
            bytes_[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    }
    constexpr operator Int() const { // NOLINT(google-explicit-constructor)
        std::make_unsigned_t<Int> bits = 0;
        for (std::size_t i = 0; i < sizeof(Int); ++i)
            bits = static_cast<std::make_unsigned_t<Int>>(
                bits | static_cast<std::make_unsigned_t<Int>>(
                           static_cast<std::make_unsigned_t<Int>>(bytes_[i]) << (8 * i)));
        return static_cast<Int>(bits);
    }

private:
    std::uint8_t bytes_[sizeof(Int)] = {};
};

using u16le = Little<std::uint16_t>;
using u32le = Little<std::uint32_t>;
using u64le = Little<std::uint64_t>;
using i32le = Little<std::int32_t>;

} // namespace varn::wire
