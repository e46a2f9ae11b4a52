#include "device/web/pdf_writer.h"

#include <cairo-pdf.h>
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>
#include <memory>
#include <type_traits>

namespace varn::web {
namespace {

constexpr double points_per_inch = 72;

struct PageSize {
    double width; ///< points
    double height;
};

struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf leave;
};

void leave_decoder(j_common_ptr decoder) {
    std::longjmp(reinterpret_cast<ErrorManager *>(decoder->err)->leave, 1);
}

bool read_size(std::span<const std::byte> jpeg, unsigned dots_per_inch, PageSize &size) {
    jpeg_decompress_struct decoder = {};
    ErrorManager errors = {};
    decoder.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = leave_decoder;
    if (setjmp(errors.leave) != 0) {
        jpeg_destroy_decompress(&decoder);
        return false;
    }
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char *>(jpeg.data()), jpeg.size());
    jpeg_read_header(&decoder, TRUE);
    const bool tells = decoder.density_unit == 1 && decoder.X_density > 1 && decoder.Y_density > 1;
    const unsigned x_density = tells ? decoder.X_density : dots_per_inch;
    const unsigned y_density = tells ? decoder.Y_density : dots_per_inch;
    size.width = decoder.image_width * points_per_inch / (x_density ? x_density : 1);
    size.height = decoder.image_height * points_per_inch / (y_density ? y_density : 1);
    jpeg_destroy_decompress(&decoder);
    return true;
}

void free_bytes(void *bytes) { delete static_cast<std::vector<std::byte> *>(bytes); }

/// A picture of one pixel that carries the JPEG: only those bytes go into the document, so the
/// pixels need never be there.
cairo_surface_t *carrier_of(std::vector<std::byte> jpeg) {
    cairo_surface_t *carrier = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1, 1);
    auto kept = std::make_unique<std::vector<std::byte>>(std::move(jpeg));
    if (cairo_surface_set_mime_data(carrier, CAIRO_MIME_TYPE_JPEG,
                                    reinterpret_cast<const unsigned char *>(kept->data()),
                                    kept->size(), free_bytes, kept.get()) == CAIRO_STATUS_SUCCESS)
        static_cast<void>(kept.release());
    return carrier;
}

class CairoPdf : public PdfWriter {
public:
    explicit CairoPdf(Write write)
        : write_(std::move(write)), surface_(cairo_pdf_surface_create_for_stream(
                                        take, this, points_per_inch, points_per_inch)) {}
    ~CairoPdf() override { cairo_surface_destroy(surface_); }
    CairoPdf(const CairoPdf &) = delete;
    CairoPdf &operator=(const CairoPdf &) = delete;

    bool add_page(std::vector<std::byte> jpeg, unsigned dots_per_inch) override {
        PageSize size = {};
        if (!read_size(jpeg, dots_per_inch, size))
            return false;
        cairo_pdf_surface_set_size(surface_, size.width, size.height);
        cairo_surface_t *carrier = carrier_of(std::move(jpeg));
        cairo_t *page = cairo_create(surface_);
        cairo_scale(page, size.width, size.height);
        cairo_set_source_surface(page, carrier, 0, 0);
        cairo_paint(page);
        cairo_show_page(page);
        cairo_destroy(page);
        cairo_surface_destroy(carrier);
        return cairo_surface_status(surface_) == CAIRO_STATUS_SUCCESS;
    }

    bool finish() override {
        cairo_surface_finish(surface_);
        return cairo_surface_status(surface_) == CAIRO_STATUS_SUCCESS;
    }

private:
    static cairo_status_t take(void *self, const unsigned char *data, unsigned length) {
        const auto *bytes = reinterpret_cast<const std::byte *>(data);
        return static_cast<CairoPdf *>(self)->write_({bytes, length}) ? CAIRO_STATUS_SUCCESS
                                                                      : CAIRO_STATUS_WRITE_ERROR;
    }

    Write write_;
    cairo_surface_t *surface_;
};

} // namespace

extern "C" PdfWriter *varn_pdf_new_writer(PdfWriter::Write write) {
    return new CairoPdf(std::move(write));
}
static_assert(std::is_same_v<decltype(varn_pdf_new_writer), NewPdfWriter>);

} // namespace varn::web
