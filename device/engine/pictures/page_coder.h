/// Codes a page into the ring, in one of the forms that a host can take.
#pragma once

#include "device/engine/block_queue.h"
#include "device/engine/pictures/rows.h"

#include <filesystem>
#include <memory>

namespace varn::engine {

enum class PixelKind : std::uint8_t { bi_level = 1, grey = 2, colour = 3 };

/// What is made of a page; numbered as on the engine link.
enum class DocumentFormat : std::uint8_t {
    jpeg = 0, ///< bi-level pages as grey ones
    tiff = 1, ///< a file for each page: LZW, bi-level CCITT group 4
    raw = 2,  ///< lines without gaps: red, green, blue; grey; or eight points a byte, left one high
};

struct PageForm {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    PixelKind kind = PixelKind::colour;
    std::uint16_t x_dpi = 300;
    std::uint16_t y_dpi = 300;
    std::uint8_t compression_level = 5; ///< JPEG only
    bool black_is_zero = true;          ///< bits of a raw bi-level page
};

/// Bytes of one line before compression.
constexpr std::uint32_t bytes_per_line(const PageForm &form) {
    const std::uint32_t bits = form.kind == PixelKind::colour ? 24
                               : form.kind == PixelKind::grey ? 8
                                                              : 1;
    return (form.width * bits + 7) / 8;
}

class PageCoder {
public:
    virtual ~PageCoder() = default;
    /// The next `count` rows: Pixel in colour, else a byte a pixel, which is 0 or 255 for a
    /// bi-level page. False when the client is gone or the page cannot be coded.
    virtual bool write(const void *rows, unsigned count) = 0;
    /// Ends the page after all its rows.
    virtual bool finish() = 0;
    /// Hands on what is coded so far, where the form allows it.
    virtual void cut() {}
};

std::unique_ptr<PageCoder> make_jpeg_coder(const PageForm &form, BlockWriter &out);
/// The file is put together in a nameless file in `spool_dir`: its head is known last.
std::unique_ptr<PageCoder> make_tiff_coder(const PageForm &form, BlockWriter &out,
                                           const std::filesystem::path &spool_dir);
std::unique_ptr<PageCoder> make_raw_coder(const PageForm &form, BlockWriter &out);

std::unique_ptr<PageCoder> make_coder(DocumentFormat format, const PageForm &form, BlockWriter &out,
                                      const std::filesystem::path &spool_dir);

/// JPEG quality of a compression level: 1 is the best picture (95), each level takes five, down
/// to 10; 0 counts as 1.
int jpeg_quality(std::uint8_t compression_level);

/// Copies bytes into the ring; false when the scan is over.
bool write_bytes(BlockWriter &out, std::span<const std::uint8_t> bytes);

/// One row in the order in which TIFF and raw pages have it; `line` takes bytes_per_line bytes.
/// `one` is what a set bit of a bi-level page stands for: 0 black, 255 white.
void pack_row(const PageForm &form, const void *row, std::uint8_t one, std::uint8_t *line);

} // namespace varn::engine
