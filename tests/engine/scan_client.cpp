#include "tests/engine/scan_client.h"

#include "device/kob_common/link.h"
#include "device/wire/local_socket.h"
#include "device/wire/places.h"
#include "device/wire/ring.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"

#include <array>
#include <chrono>
#include <csetjmp>
#include <cstdio>
#include <fcntl.h>
#include <jpeglib.h>
#include <sys/mman.h>
#include <thread>
#include <tiffio.h>

namespace varn::test {
namespace {

constexpr int patience_ms = 60000;

/// The ring as the web server maps it for one scan.
class RingView {
public:
    explicit RingView(const std::string &root) {
        const std::string path = root + wire::ring_file;
        const wire::Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        header_ = read_record<wire::RingHeader>(path);
        EXPECT_EQ(header_.dwMagic, wire::ring_magic);
        size_ = header_.dwFirstBlock + std::size_t{header_.dwBlockCount} * header_.dwBlockSize;
        map_ = static_cast<const std::uint8_t *>(
            mmap(nullptr, size_, PROT_READ, MAP_SHARED, fd.get(), 0));
        EXPECT_NE(map_, MAP_FAILED);
    }
    ~RingView() { munmap(const_cast<std::uint8_t *>(map_), size_); }
    RingView(const RingView &) = delete;
    RingView &operator=(const RingView &) = delete;

    void append_block(unsigned index, std::size_t size, std::vector<std::uint8_t> &bytes) const {
        EXPECT_LE(size, header_.dwBlockSize);
        const std::uint8_t *block =
            map_ + header_.dwFirstBlock + std::size_t{header_.dwBlockSize} * (index % count());
        bytes.insert(bytes.end(), block, block + size);
    }
    unsigned count() const { return header_.dwBlockCount; }

private:
    wire::RingHeader header_;
    std::size_t size_ = 0;
    const std::uint8_t *map_ = nullptr;
};

class ImageClient {
public:
    ImageClient(const std::string &root, const Manners &manners, unsigned images_per_sheet)
        : fd_(wire::connect_local(root, wire::image_socket)), ring_(root), manners_(manners),
          images_per_sheet_(images_per_sheet) {}

    Scan take_everything() {
        unsigned left = images_per_sheet_;
        while (take_block(left)) {
            if (left > 0)
                continue;
            wire::BlockStatus record;
            if (!receive(record) || !goes_on(record))
                break;
            left = images_per_sheet_;
        }
        return scan_;
    }

private:
    /// One block; false when the scan is over.
    bool take_block(unsigned &images_left) {
        wire::BlockStatus status;
        if (!send_command(4) || !receive(status))
            return false;
        if (status.dwLastErr > wire::err_limit)
            scan_.block_error = status.dwLastErr;
        else
            keep(status);
        std::this_thread::sleep_for(std::chrono::milliseconds(manners_.ms_per_block));
        const Next next = manners_.next(blocks_);
        if (next == Next::vanish)
            return false;
        if (next == Next::cancel) {
            scan_.broken = !acknowledge() || !send_command(7) || !receive(status);
            scan_.block_error = status.dwLastErr;
            return false;
        }
        if (status.dwLastErr == wire::err_image_complete)
            --images_left;
        return acknowledge() && scan_.block_error == 0;
    }

    void keep(const wire::BlockStatus &status) {
        EXPECT_GE(status.dwDataLength, 1U);
        EXPECT_EQ(status.dwImageIndex, scan_.images.size());
        EXPECT_EQ(status.dwBlockCount, ring_.count());
        ring_.append_block(blocks_++, status.dwDataLength, scan_.incomplete);
        ++blocks_of_image_;
        if (status.dwLastErr != wire::err_image_complete)
            return;
        scan_.images.push_back({std::move(scan_.incomplete), status, blocks_of_image_});
        scan_.incomplete.clear();
        blocks_of_image_ = 0;
    }

    bool goes_on(const wire::BlockStatus &record) {
        if (record.dwLastErr > wire::err_limit)
            scan_.sheet_error = record.dwLastErr;
        scan_.finished = record.byFlowStatus == 4;
        return scan_.sheet_error == 0 && record.byFlowStatus == 2;
    }

    bool send_command(std::uint8_t sub_command) {
        wire::ActionCommand command;
        command.dwSignature = wire::action_signature;
        command.bySubCommand = sub_command;
        return send(&command, sizeof command);
    }
    bool acknowledge() {
        return send(wire::block_acknowledgement, sizeof wire::block_acknowledgement);
    }
    bool send(const void *data, std::size_t size) {
        const bool sent = wire::send_all(fd_.get(), data, size, wire::now_ms() + patience_ms) ==
                          wire::Transfer::done;
        scan_.broken |= !sent;
        return sent;
    }
    bool receive(wire::BlockStatus &status) {
        const bool got = wire::receive_all(fd_.get(), &status, sizeof status,
                                           wire::now_ms() + patience_ms) == wire::Transfer::done;
        scan_.broken |= !got;
        return got;
    }

    wire::Descriptor fd_;
    RingView ring_;
    const Manners &manners_;
    const unsigned images_per_sheet_;
    Scan scan_;
    unsigned blocks_ = 0;
    unsigned blocks_of_image_ = 0;
};

struct DecodeError {
    jpeg_error_mgr manager;
    std::jmp_buf escape;
};

[[noreturn]] void on_error(j_common_ptr jpeg) {
    std::longjmp(reinterpret_cast<DecodeError *>(jpeg->err)->escape, 1);
}

} // namespace

wire::ScanParam page_at(std::uint32_t source, std::uint8_t out_data_type, std::uint16_t dpi) {
    wire::ScanParam param;
    param.dwADF = source;
    param.byInDataType = 3;
    param.byOutDataType = out_data_type;
    param.wXresolution = dpi;
    param.wYresolution = dpi;
    param.window = {0, 0, 2550U * dpi / 300, 3510U * dpi / 300};
    param.dwWidthPixels = param.window.xExtent;
    param.dwRealLineNum = param.window.yExtent;
    param.byChannelDropOut = 6;
    param.byCompression = 5;
    param.byHalftoneThreshold = 128;
    return param;
}

void write_records(const std::string &root, const HostRecords &records) {
    const wire::Descriptor fd = wire::connect_local(root, wire::action_socket);
    const auto write = [&](std::uint8_t sub, std::uint16_t selector, const auto &words) {
        if (words.empty())
            return;
        wire::ActionCommand command;
        command.dwSignature = wire::action_signature;
        command.byOPCode = 42;
        command.bySubCommand = sub;
        command.wDTQ = selector;
        command.dwLength = static_cast<std::uint32_t>(words.size() * sizeof words[0]);
        wire::send_all(fd.get(), &command, sizeof command, wire::now_ms() + patience_ms);
        wire::send_all(fd.get(), words.data(), command.dwLength, wire::now_ms() + patience_ms);
    };
    for (std::uint16_t i = 0; i < 3; ++i)
        write(12, static_cast<std::uint16_t>(2 + i), records.tone[i]);
    write(13, 1, records.matrix);
    write(80, 1, records.multipick);
    wire::ActionCommand status; // answered when the records have been taken in
    status.dwSignature = wire::action_signature;
    status.byOPCode = 18;
    status.bySubCommand = 2;
    std::uint8_t reply[32];
    wire::send_all(fd.get(), &status, sizeof status, wire::now_ms() + patience_ms);
    EXPECT_EQ(wire::receive_all(fd.get(), reply, sizeof reply, wire::now_ms() + patience_ms),
              wire::Transfer::done);
    if (records.format != 0) {
        const Link link(root);
        EXPECT_EQ(kob_set_document_format(static_cast<int>(std::uint32_t{link}), records.format),
                  0);
    }
}

Scan scan(const std::string &root, const wire::ScanParam &param, const Manners &manners) {
    const Link link(root);
    wire::ScannerStatus status;
    EXPECT_EQ(mvtc_write_scan_param(link, &param), 0);
    EXPECT_EQ(mvtc_cmd_pick_media(link, &status), 0);
    EXPECT_EQ(mvtc_cmd_startscan(link, &status, 0), 0);
    EXPECT_EQ(status.wFWInfo, 4);
    EXPECT_EQ(mvtc_read_blockimage(link), 0);
    const bool two_sides = param.dwADF == 4 || param.dwADF == 7 || param.dwADF == 12;
    return ImageClient(root, manners, two_sides ? 2 : 1).take_everything();
}

Picture decode(const std::vector<std::uint8_t> &jpeg) {
    Picture picture;
    jpeg_decompress_struct decoder = {};
    DecodeError errors = {};
    decoder.err = jpeg_std_error(&errors.manager);
    errors.manager.error_exit = on_error;
    if (setjmp(errors.escape)) {
        jpeg_destroy_decompress(&decoder);
        return {};
    }
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, jpeg.data(), jpeg.size());
    jpeg_read_header(&decoder, TRUE);
    jpeg_start_decompress(&decoder);
    picture.channels = static_cast<unsigned>(decoder.output_components);
    picture.dpi = decoder.density_unit == 1 ? decoder.X_density : 0;
    const std::size_t stride = std::size_t{decoder.output_width} * picture.channels;
    picture.samples.resize(stride * decoder.output_height);
    while (decoder.output_scanline < decoder.output_height) {
        JSAMPROW row = &picture.samples[stride * decoder.output_scanline];
        jpeg_read_scanlines(&decoder, &row, 1);
    }
    picture.width = errors.manager.num_warnings == 0 ? decoder.output_width : 0;
    picture.height = decoder.output_height;
    jpeg_destroy_decompress(&decoder);
    return picture;
}

Picture decode_tiff(const std::vector<std::uint8_t> &bytes) {
    const TempTree dir;
    const std::string path = dir.path() + "/page.tif";
    FILE *file = std::fopen(path.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    Picture picture;
    TIFF *tiff = TIFFOpen(path.c_str(), "r");
    if (!tiff)
        return picture;
    std::uint16_t channels = 0;
    std::uint16_t bits = 0;
    float dpi = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &picture.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &picture.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &dpi);
    picture.channels = channels;
    picture.dpi = static_cast<unsigned>(dpi);
    std::vector<std::uint8_t> line(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    for (std::uint32_t y = 0; y < picture.height; ++y) {
        if (TIFFReadScanline(tiff, line.data(), y, 0) < 0)
            picture.width = 0;
        for (std::uint32_t x = 0; bits == 1 && x < picture.width; ++x)
            picture.samples.push_back(line[x / 8] >> (7 - x % 8) & 1 ? 0 : 255);
        if (bits == 8)
            picture.samples.insert(picture.samples.end(), line.begin(), line.end());
    }
    EXPECT_EQ(TIFFNumberOfDirectories(tiff), 1U) << "one file an image";
    TIFFClose(tiff);
    return picture;
}

std::uint32_t Picture::colour_at(unsigned x, unsigned y) const {
    if (x >= width || y >= height)
        return 0xFFFFFFFF;
    const std::uint8_t *at = &samples[(std::size_t{width} * y + x) * channels];
    return channels == 3 ? at[0] * 0x10000U + at[1] * 0x100U + at[2] : at[0] * 0x10101U;
}

std::uint32_t Picture::mean_colour() const {
    std::array<std::uint64_t, 3> sums = {};
    for (std::size_t i = 0; i < samples.size(); ++i)
        sums[i % channels] += samples[i];
    const std::size_t count = std::size_t{width} * height;
    if (count == 0)
        return 0xFFFFFFFF;
    const auto mean = [&](std::size_t i) {
        return static_cast<std::uint32_t>(sums[channels == 3 ? i : 0] / count);
    };
    return mean(0) << 16 | mean(1) << 8 | mean(2);
}

bool alike(std::uint32_t colour, std::uint32_t other, int most) {
    for (const int shift : {16, 8, 0})
        if (std::abs(static_cast<int>(colour >> shift & 0xFF) -
                     static_cast<int>(other >> shift & 0xFF)) > most)
            return false;
    return colour <= 0xFFFFFF && other <= 0xFFFFFF;
}

} // namespace varn::test
