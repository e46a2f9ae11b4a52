#include "device/engine/pictures/picture_file.h"

#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <png.h>
#include <vector>

namespace varn::engine {
namespace {

constexpr png_uint_32 longest_side = 100000;

class PngReader : public PictureReader {
public:
    explicit PngReader(std::FILE *file) : file_(file) {}
    ~PngReader() override {
        png_destroy_read_struct(&png_, &info_, nullptr);
        std::fclose(file_);
    }

    void open() {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, on_error, on_warning);
        info_ = png_ ? png_create_info_struct(png_) : nullptr;
        if (!info_)
            throw PictureError("not enough memory");
        if (!read_header())
            throw PictureError(message_);
        if (png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE)
            read_interlaced();
    }

    bool next_row(Pixel *row) override {
        if (!whole_.empty()) {
            std::memcpy(row, &whole_[std::size_t{width_} * next_++], width_ * sizeof *row);
            return true;
        }
        if (!read_row(reinterpret_cast<png_bytep>(work_.data())))
            return false;
        std::memcpy(row, work_.data(), width_ * sizeof *row);
        return true;
    }

private:
    [[noreturn]] static void on_error(png_structp png, png_const_charp text) {
        auto *self = static_cast<PngReader *>(png_get_error_ptr(png));
        std::snprintf(self->message_, sizeof self->message_, "damaged PNG: %s", text);
        png_longjmp(png, 1);
    }
    static void on_warning(png_structp, png_const_charp) {}

    // libpng leaves by longjmp: the functions that call it hold nothing that needs destroying.
    bool read_header() {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_set_user_limits(png_, longest_side, longest_side);
        png_init_io(png_, file_);
        png_read_info(png_, info_);
        ask_for_pixels();
        width_ = png_get_image_width(png_, info_);
        height_ = png_get_image_height(png_, info_);
        int unit = 0;
        png_uint_32 x = 0;
        png_uint_32 y = 0;
        const bool known =
            png_get_pHYs(png_, info_, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER;
        set_resolution(known ? x * 0.0254 : 0, known ? y * 0.0254 : 0);
        png_read_update_info(png_, info_);
        if (png_get_rowbytes(png_, info_) != std::size_t{width_} * sizeof(Pixel))
            png_error(png_, "unexpected form of pixels");
        work_.resize(width_);
        return true;
    }

    /// Whatever the file holds comes out as Pixel, on white paper where it is transparent.
    void ask_for_pixels() {
        png_set_interlace_handling(png_);
        png_set_expand(png_);
        png_set_scale_16(png_);
        png_set_gray_to_rgb(png_);
        png_color_16 paper = {0, 255, 255, 255, 255};
        png_set_background(png_, &paper, PNG_BACKGROUND_GAMMA_SCREEN, 0, 1.0);
        if constexpr (std::endian::native == std::endian::little) {
            png_set_bgr(png_);
            png_set_filler(png_, 0, PNG_FILLER_AFTER);
        } else {
            png_set_filler(png_, 0, PNG_FILLER_BEFORE);
        }
    }

    bool read_row(png_bytep row) {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_read_row(png_, row, nullptr);
        return true;
    }

    void read_interlaced() {
        if (std::uint64_t{width_} * height_ > whole_picture_limit)
            throw PictureError("an interlaced PNG of more than 64 million pixels");
        whole_.resize(std::size_t{width_} * height_);
        std::vector<png_bytep> rows;
        for (std::uint32_t y = 0; y < height_; ++y)
            rows.push_back(reinterpret_cast<png_bytep>(whole_.data() + std::size_t{width_} * y));
        if (!read_image(rows.data()))
            throw PictureError(message_);
    }

    bool read_image(png_bytepp rows) {
        if (setjmp(png_jmpbuf(png_)))
            return false;
        png_read_image(png_, rows);
        return true;
    }

    std::FILE *file_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::vector<Pixel> work_;  ///< a row that breaks off half-way must not reach the caller
    std::vector<Pixel> whole_; ///< interlaced pictures only
    std::size_t next_ = 0;
    char message_[128] = {};
};

} // namespace

std::unique_ptr<PictureReader> open_png(std::FILE *file) {
    auto reader = std::make_unique<PngReader>(file);
    reader->open();
    return reader;
}

} // namespace varn::engine
