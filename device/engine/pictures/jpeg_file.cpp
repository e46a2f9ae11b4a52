#include "device/engine/pictures/picture_file.h"

#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <vector>

#include <jerror.h>
#include <jpeglib.h>

namespace varn::engine {
namespace {

constexpr J_COLOR_SPACE pixel_space =
    std::endian::native == std::endian::little ? JCS_EXT_BGRX : JCS_EXT_XRGB;

class JpegReader : public PictureReader {
public:
    explicit JpegReader(std::FILE *file) : file_(file) {}
    ~JpegReader() override {
        jpeg_destroy_decompress(&jpeg_);
        std::fclose(file_);
    }

    void open(double wanted_dpi) {
        if (!start(wanted_dpi))
            throw PictureError(message_);
    }

    bool next_row(Pixel *row) override {
        if (damaged_ || !read_row() || damaged_)
            return false;
        std::memcpy(row, work_.data(), width_ * sizeof *row);
        return true;
    }

private:
    static JpegReader &self(j_common_ptr jpeg) {
        return *static_cast<JpegReader *>(jpeg->client_data);
    }

    [[noreturn]] static void on_error(j_common_ptr jpeg) {
        char text[JMSG_LENGTH_MAX];
        jpeg->err->format_message(jpeg, text);
        std::snprintf(self(jpeg).message_, sizeof self(jpeg).message_, "damaged JPEG: %s", text);
        std::longjmp(self(jpeg).escape_, 1);
    }

    /// The library goes on with grey where the file ends too early; a scan must not.
    static void on_message(j_common_ptr jpeg, int level) {
        if (level < 0 &&
            (jpeg->err->msg_code == JWRN_JPEG_EOF || jpeg->err->msg_code == JWRN_HIT_MARKER))
            self(jpeg).damaged_ = true;
    }

    // libjpeg leaves by longjmp: the functions that call it hold nothing that needs destroying.
    bool start(double wanted_dpi) {
        jpeg_.err = jpeg_std_error(&errors_);
        errors_.error_exit = on_error;
        errors_.emit_message = on_message;
        jpeg_.client_data = this;
        if (setjmp(escape_))
            return false;
        jpeg_create_decompress(&jpeg_);
        jpeg_.client_data = this;
        jpeg_stdio_src(&jpeg_, file_);
        jpeg_read_header(&jpeg_, TRUE);
        if (jpeg_.num_components != 1 && jpeg_.num_components != 3)
            return fail("JPEG pictures in printing colours are not supported");
        if (jpeg_has_multiple_scans(&jpeg_) &&
            std::uint64_t{jpeg_.image_width} * jpeg_.image_height > whole_picture_limit)
            return fail("a progressive JPEG of more than 64 million pixels");
        jpeg_.out_color_space = pixel_space;
        choose_size(wanted_dpi);
        jpeg_start_decompress(&jpeg_);
        work_.resize(width_);
        return true;
    }

    /// The decoder halves the picture at no cost: as far as the wanted resolution allows.
    void choose_size(double wanted_dpi) {
        width_ = jpeg_.image_width;
        height_ = jpeg_.image_height;
        const double unit = jpeg_.density_unit == 1 ? 1 : jpeg_.density_unit == 2 ? 2.54 : 0;
        set_resolution(jpeg_.X_density * unit, jpeg_.Y_density * unit);

        unsigned shrink = 1;
        while (shrink < 8 && x_dpi_ >= 2 * shrink * wanted_dpi && y_dpi_ >= 2 * shrink * wanted_dpi)
            shrink *= 2;
        jpeg_.scale_num = 1;
        jpeg_.scale_denom = shrink;
        jpeg_calc_output_dimensions(&jpeg_);
        width_ = jpeg_.output_width;
        height_ = jpeg_.output_height;
        x_dpi_ /= shrink;
        y_dpi_ /= shrink;
    }

    bool read_row() {
        if (setjmp(escape_)) {
            damaged_ = true;
            return false;
        }
        auto *row = reinterpret_cast<JSAMPROW>(work_.data());
        jpeg_read_scanlines(&jpeg_, &row, 1);
        return true;
    }

    bool fail(const char *text) {
        std::snprintf(message_, sizeof message_, "%s", text);
        return false;
    }

    std::FILE *file_;
    jpeg_decompress_struct jpeg_ = {};
    jpeg_error_mgr errors_ = {};
    std::jmp_buf escape_ = {};
    std::vector<Pixel> work_;
    bool damaged_ = false;
    char message_[JMSG_LENGTH_MAX + 32] = {};
};

} // namespace

std::unique_ptr<PictureReader> open_jpeg(std::FILE *file, double wanted_dpi) {
    auto reader = std::make_unique<JpegReader>(file);
    reader->open(wanted_dpi);
    return reader;
}

} // namespace varn::engine
