#include "iomgmt/status_block.h"

#include "platform/mvtc.h"
#include "varn/frame.h"

#include <algorithm>
#include <cstring>

namespace varn::net {
namespace {

bool inside(uint64_t offset, uint64_t length) {
    return offset <= StatusBlock::size && length <= StatusBlock::size - offset;
}

} // namespace

StatusBlock::StatusBlock(Refresh refresh)
    : bytes_(static_cast<uint8_t *>(calloc(StatusBlock::size, 1))) {
    if (bytes_ != nullptr)
        mvtc_read_NetworkServer(static_cast<uint32_t>(varn_mvt_fd), static_cast<uint32_t>(refresh),
                                bytes_.get(), StatusBlock::size);
}

uint32_t StatusBlock::word(Word field) const {
    if (bytes_ == nullptr || !inside(field.offset, 4))
        return 0;
    const uint8_t *b = bytes_.get() + field.offset;
    return b[0] | uint32_t{b[1]} << 8 | uint32_t{b[2]} << 16 | uint32_t{b[3]} << 24;
}

std::string StatusBlock::text(Text field) const {
    if (bytes_ == nullptr || field.offset >= size)
        return {};
    const size_t left = size - field.offset;
    const size_t room = field.width != 0 ? std::min<size_t>(field.width, left) : left;
    const char *begin = reinterpret_cast<const char *>(bytes_.get()) + field.offset;
    return {begin, strnlen(begin, room)};
}

uint32_t StatusBlock::count(Word field, Text first_record, uint64_t stride) const {
    const uint64_t room = first_record.offset < size ? (size - first_record.offset) / stride : 0;
    return static_cast<uint32_t>(std::min<uint64_t>(word(field), room));
}

} // namespace varn::net
