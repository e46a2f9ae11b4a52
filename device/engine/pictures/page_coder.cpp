#include "device/engine/pictures/page_coder.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace varn::engine {
namespace {

class RawCoder : public PageCoder {
public:
    RawCoder(const PageForm &form, BlockWriter &out)
        : form_(form), out_(out), line_(bytes_per_line(form)) {}

    bool write(const void *rows, unsigned count) override {
        const std::size_t stride =
            std::size_t{form_.width} * (form_.kind == PixelKind::colour ? sizeof(Pixel) : 1);
        const auto *row = static_cast<const std::uint8_t *>(rows);
        for (; count > 0; --count, row += stride) {
            pack_row(form_, row, form_.black_is_zero ? 255 : 0, line_.data());
            if (!write_bytes(out_, line_))
                return false;
        }
        return true;
    }

    bool finish() override { return true; }

private:
    const PageForm form_;
    BlockWriter &out_;
    std::vector<std::uint8_t> line_;
};

} // namespace

std::unique_ptr<PageCoder> make_raw_coder(const PageForm &form, BlockWriter &out) {
    return std::make_unique<RawCoder>(form, out);
}

std::unique_ptr<PageCoder> make_coder(DocumentFormat format, const PageForm &form, BlockWriter &out,
                                      const std::filesystem::path &spool_dir) {
    switch (format) {
    case DocumentFormat::tiff:
        return make_tiff_coder(form, out, spool_dir);
    case DocumentFormat::raw:
        return make_raw_coder(form, out);
    case DocumentFormat::jpeg:
        break;
    }
    return make_jpeg_coder(form, out);
}

bool write_bytes(BlockWriter &out, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const auto room = out.room();
        if (room.empty())
            return false;
        const std::size_t part = std::min(room.size(), bytes.size());
        std::memcpy(room.data(), bytes.data(), part);
        out.advance(part);
        bytes = bytes.subspan(part);
    }
    return true;
}

void pack_row(const PageForm &form, const void *row, std::uint8_t one, std::uint8_t *line) {
    if (form.kind == PixelKind::grey) {
        std::memcpy(line, row, form.width);
    } else if (form.kind == PixelKind::colour) {
        const auto *pixels = static_cast<const Pixel *>(row);
        for (std::uint32_t x = 0; x < form.width; ++x)
            for (const unsigned shift : {16U, 8U, 0U})
                *line++ = static_cast<std::uint8_t>(pixels[x] >> shift);
    } else {
        const auto *points = static_cast<const std::uint8_t *>(row);
        std::memset(line, 0, bytes_per_line(form));
        for (std::uint32_t x = 0; x < form.width; ++x)
            if (points[x] == one)
                line[x / 8] = static_cast<std::uint8_t>(line[x / 8] | 0x80U >> x % 8);
    }
}

} // namespace varn::engine
