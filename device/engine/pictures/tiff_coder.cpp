#include "device/engine/files.h"
#include "device/engine/pictures/page_coder.h"
#include "device/wire/local_socket.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <tiffio.h>
#include <unistd.h>
#include <vector>

namespace varn::engine {
namespace {

/// A TIFF has 32-bit offsets; a page that comes near is given up.
constexpr std::uint64_t spool_limit = 0xF0000000;
/// Rows that are compressed as one: a viewer can decode a part of the page.
constexpr std::uint32_t rows_per_strip = 256;

/// A file without a name, which goes with the object.
class Spool {
public:
    explicit Spool(const std::filesystem::path &dir)
        : fd_(open(dir.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600)) {
        if (fd_)
            return;
        std::string name = (dir / ".spool-XXXXXX").string(); // not every file system has the flag
        fd_ = wire::Descriptor(mkostemp(name.data(), O_CLOEXEC));
        if (fd_)
            unlink(name.c_str());
    }

    explicit operator bool() const { return static_cast<bool>(fd_); }
    std::uint64_t size() const { return size_; }

    std::uint64_t seek(std::int64_t offset, int whence) {
        const std::uint64_t base = whence == SEEK_CUR ? at_ : whence == SEEK_END ? size_ : 0;
        return at_ = base + static_cast<std::uint64_t>(offset);
    }

    ssize_t read(void *data, std::size_t size) {
        const ssize_t got = pread(fd_.get(), data, size, static_cast<off_t>(at_));
        at_ += got > 0 ? static_cast<std::uint64_t>(got) : 0;
        return got;
    }

    ssize_t write(const void *data, std::size_t size) {
        if (at_ > spool_limit || size > spool_limit - at_)
            return -1;
        const auto *from = static_cast<const std::uint8_t *>(data);
        std::size_t left = size;
        while (left > 0) {
            const ssize_t wrote = pwrite(fd_.get(), from, left, static_cast<off_t>(at_));
            if (wrote < 0 && errno == EINTR)
                continue;
            if (wrote <= 0)
                return -1;
            from += wrote;
            left -= static_cast<std::size_t>(wrote);
            at_ += static_cast<std::uint64_t>(wrote);
        }
        size_ = std::max(size_, at_);
        return static_cast<ssize_t>(size);
    }

private:
    wire::Descriptor fd_;
    std::uint64_t at_ = 0;
    std::uint64_t size_ = 0;
};

Spool &spool_of(thandle_t handle) { return *static_cast<Spool *>(handle); }

int on_message(TIFF *, void *, const char *, const char *format, va_list arguments) {
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    log_line(std::string("coding a TIFF page: ") + text);
    return 1;
}

TIFF *open_tiff(Spool &spool) {
    TIFFOpenOptions *options = TIFFOpenOptionsAlloc();
    TIFFOpenOptionsSetErrorHandlerExtR(options, on_message, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options, on_message, nullptr);
    TIFF *tiff = TIFFClientOpenExt(
        "page", "wlm", &spool,
        [](thandle_t handle, void *data, tmsize_t size) -> tmsize_t {
            return spool_of(handle).read(data, static_cast<std::size_t>(size));
        },
        [](thandle_t handle, void *data, tmsize_t size) -> tmsize_t {
            return spool_of(handle).write(data, static_cast<std::size_t>(size));
        },
        [](thandle_t handle, toff_t offset, int whence) -> toff_t {
            return spool_of(handle).seek(static_cast<std::int64_t>(offset), whence);
        },
        [](thandle_t) { return 0; }, [](thandle_t handle) { return spool_of(handle).size(); },
        nullptr, nullptr, options);
    TIFFOpenOptionsFree(options);
    return tiff;
}

class TiffCoder : public PageCoder {
public:
    TiffCoder(const PageForm &form, BlockWriter &out, const std::filesystem::path &spool_dir)
        : form_(form), out_(out), spool_(spool_dir), line_(bytes_per_line(form)) {
        if (spool_)
            tiff_ = open_tiff(spool_);
        if (!tiff_)
            log_line("cannot code a TIFF page: no room in " + spool_dir.string());
        else
            set_form();
    }
    ~TiffCoder() override { close(); }
    TiffCoder(const TiffCoder &) = delete;
    TiffCoder &operator=(const TiffCoder &) = delete;

    bool write(const void *rows, unsigned count) override {
        const std::size_t stride =
            std::size_t{form_.width} * (form_.kind == PixelKind::colour ? sizeof(Pixel) : 1);
        const auto *row = static_cast<const std::uint8_t *>(rows);
        for (; tiff_ && count > 0; --count, row += stride) {
            pack_row(form_, row, 0, line_.data());
            if (TIFFWriteScanline(tiff_, line_.data(), next_++, 0) < 0)
                close();
        }
        return tiff_ != nullptr;
    }

    bool finish() override {
        const bool whole = tiff_ && TIFFWriteDirectory(tiff_) == 1;
        close();
        return whole && copy_out();
    }

private:
    void set_form() {
        const bool bi_level = form_.kind == PixelKind::bi_level;
        const bool colour = form_.kind == PixelKind::colour;
        TIFFSetField(tiff_, TIFFTAG_IMAGEWIDTH, form_.width);
        TIFFSetField(tiff_, TIFFTAG_IMAGELENGTH, form_.height);
        TIFFSetField(tiff_, TIFFTAG_BITSPERSAMPLE, bi_level ? 1 : 8);
        TIFFSetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, colour ? 3 : 1);
        TIFFSetField(tiff_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff_, TIFFTAG_PHOTOMETRIC,
                     colour     ? PHOTOMETRIC_RGB
                     : bi_level ? PHOTOMETRIC_MINISWHITE
                                : PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff_, TIFFTAG_COMPRESSION,
                     bi_level ? COMPRESSION_CCITTFAX4 : COMPRESSION_LZW);
        if (!bi_level)
            TIFFSetField(tiff_, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        TIFFSetField(tiff_, TIFFTAG_ROWSPERSTRIP, rows_per_strip);
        TIFFSetField(tiff_, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff_, TIFFTAG_XRESOLUTION, double{1} * form_.x_dpi);
        TIFFSetField(tiff_, TIFFTAG_YRESOLUTION, double{1} * form_.y_dpi);
    }

    void close() {
        if (tiff_)
            TIFFClose(tiff_);
        tiff_ = nullptr;
    }

    bool copy_out() {
        std::vector<std::uint8_t> part(64 * 1024);
        spool_.seek(0, SEEK_SET);
        for (std::uint64_t left = spool_.size(); left > 0;) {
            const ssize_t got =
                spool_.read(part.data(), std::min<std::uint64_t>(left, part.size()));
            if (got <= 0 || !write_bytes(out_, {part.data(), static_cast<std::size_t>(got)}))
                return false;
            left -= static_cast<std::uint64_t>(got);
        }
        return true;
    }

    const PageForm form_;
    BlockWriter &out_;
    Spool spool_;
    std::vector<std::uint8_t> line_;
    TIFF *tiff_ = nullptr;
    std::uint32_t next_ = 0; ///< row
};

} // namespace

std::unique_ptr<PageCoder> make_tiff_coder(const PageForm &form, BlockWriter &out,
                                           const std::filesystem::path &spool_dir) {
    return std::make_unique<TiffCoder>(form, out, spool_dir);
}

} // namespace varn::engine
