/// Picture files as sheets: reading, resolution, resampling.
#include "device/engine/pictures/picture_file.h"

#include "tests/engine/engine_fixture.h"

#include <cmath>
#include <cstdio>
#include <jpeglib.h>
#include <png.h>

namespace varn::test {
namespace {

using engine::Pixel;

class PictureTest : public testing::Test {
protected:
    /// A PNG of grey rows: row y has the value rows[y]. It is not compressed, so that half of the
    /// file is half of the picture.
    std::string write_png(const std::vector<std::uint8_t> &rows, unsigned width, int interlace,
                          unsigned dpi) {
        std::string path = tree.path() + "/rows.png";
        FILE *file = std::fopen(path.c_str(), "wb");
        png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = png_create_info_struct(png);
        png_init_io(png, file);
        png_set_compression_level(png, 0);
        png_set_IHDR(png, info, width, static_cast<png_uint_32>(rows.size()), 8,
                     PNG_COLOR_TYPE_GRAY, interlace, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        const auto per_metre = static_cast<png_uint_32>(std::lround(dpi / 0.0254));
        if (dpi > 0)
            png_set_pHYs(png, info, per_metre, per_metre, PNG_RESOLUTION_METER);
        png_write_info(png, info);
        const int passes = png_set_interlace_handling(png);
        for (int pass = 0; pass < passes; ++pass)
            for (const std::uint8_t value : rows)
                png_write_row(png, std::vector<png_byte>(width, value).data());
        png_write_end(png, nullptr);
        png_destroy_write_struct(&png, &info);
        std::fclose(file);
        return path;
    }

    std::string write_jpeg(unsigned width, unsigned height, std::uint8_t value, unsigned dpi,
                           bool progressive) {
        std::string path = tree.path() + "/flat.jpg";
        FILE *file = std::fopen(path.c_str(), "wb");
        jpeg_compress_struct jpeg = {};
        jpeg_error_mgr errors = {};
        jpeg.err = jpeg_std_error(&errors);
        jpeg_create_compress(&jpeg);
        jpeg_stdio_dest(&jpeg, file);
        jpeg.image_width = width;
        jpeg.image_height = height;
        jpeg.input_components = 1;
        jpeg.in_color_space = JCS_GRAYSCALE;
        jpeg_set_defaults(&jpeg);
        if (progressive)
            jpeg_simple_progression(&jpeg);
        jpeg.density_unit = dpi > 0 ? 1 : 0;
        jpeg.X_density = jpeg.Y_density = static_cast<UINT16>(dpi);
        jpeg_start_compress(&jpeg, TRUE);
        std::vector<JSAMPLE> row(width, value);
        JSAMPROW line = row.data();
        while (jpeg.next_scanline < height)
            jpeg_write_scanlines(&jpeg, &line, 1);
        jpeg_finish_compress(&jpeg);
        jpeg_destroy_compress(&jpeg);
        std::fclose(file);
        return path;
    }

    static std::vector<Pixel> scan(const std::string &path, const engine::ScanArea &area) {
        std::vector<Pixel> pixels(std::size_t{area.width} * area.height);
        const double wanted = std::max(area.x_dpi, area.y_dpi);
        engine::scan_picture(engine::open_picture(path, wanted), area)
            ->read(pixels.data(), area.height);
        return pixels;
    }

    TempTree tree;
};

TEST_F(PictureTest, resampling_averages_down_and_blends_up) {
    struct Case {
        unsigned picture_dpi;
        unsigned scan_dpi;
        std::vector<std::uint8_t> rows;
        std::vector<std::uint8_t> expected;
    };
    const Case cases[] = {
        {100, 100, {10, 200, 30}, {10, 200, 30}},
        {200, 100, {10, 20, 100, 200, 255, 255}, {15, 150, 255}},
        {300, 100, {0, 30, 60, 90, 90, 90}, {30, 90}},
        {150, 100, {0, 90, 240}, {30, 190}},     // one and a half rows each
        {50, 100, {0, 200}, {0, 50, 150, 200}},  // a quarter of the way, then three
        {300, 100, {255, 255, 255, 255}, {255}}, // less than half a row is left over
    };
    for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7})
        for (const Case &scale : cases) {
            SCOPED_TRACE(std::to_string(scale.picture_dpi) + " to " +
                         std::to_string(scale.scan_dpi));
            const std::string path = write_png(scale.rows, 12, interlace, scale.picture_dpi);
            engine::ScanArea area;
            area.x_dpi = area.y_dpi = scale.scan_dpi;
            area.width = 3;
            area.height = static_cast<std::uint32_t>(scale.expected.size()) + 2;
            area.background = engine::black;
            const std::vector<Pixel> pixels = scan(path, area);
            for (std::uint32_t y = 0; y < area.height; ++y) {
                const int expected = y < scale.expected.size() ? scale.expected[y] : 0;
                for (std::uint32_t x = 0; x < area.width; ++x)
                    for (const int shift : {0, 8, 16})
                        EXPECT_NEAR(static_cast<int>(pixels[y * 3 + x] >> shift & 0xFF), expected,
                                    1)
                            << "row " << y;
            }
        }
}

TEST_F(PictureTest, white_stays_white_at_every_ratio) {
    for (unsigned scan_dpi = 50; scan_dpi <= 1200; scan_dpi += 37) {
        const std::string path =
            write_png(std::vector<std::uint8_t>(200, 255), 200, PNG_INTERLACE_NONE, 200);
        engine::ScanArea area;
        area.x_dpi = area.y_dpi = scan_dpi;
        area.width = area.height = scan_dpi * 9 / 10;
        area.background = engine::black;
        for (const Pixel pixel : scan(path, area))
            ASSERT_EQ(pixel, engine::white) << "at " << scan_dpi;
    }
}

TEST_F(PictureTest, resolution_gives_the_size) {
    struct Case {
        unsigned width;
        unsigned dpi;
        double expected;
    };
    const Case cases[] = {{1700, 200, 200}, {1700, 0, 200}, {3000, 72, 3000 / 8.5}, {850, 5, 100}};
    for (const Case &size : cases) {
        const auto png = engine::open_picture(
            write_png(std::vector<std::uint8_t>(8, 0), size.width, PNG_INTERLACE_NONE, size.dpi));
        EXPECT_DOUBLE_EQ(png->x_dpi(), size.expected);
        const auto jpeg = engine::open_picture(write_jpeg(size.width, 8, 0, size.dpi, false));
        EXPECT_DOUBLE_EQ(jpeg->x_dpi(), size.expected);
    }
}

TEST_F(PictureTest, a_jpeg_comes_down_to_the_wanted_resolution_and_no_further) {
    for (const bool progressive : {false, true}) {
        const std::string path = write_jpeg(1600, 1600, 90, 800, progressive);
        EXPECT_EQ(engine::open_picture(path, 100)->width(), 200U);
        EXPECT_EQ(engine::open_picture(path, 101)->width(), 400U);
        EXPECT_EQ(engine::open_picture(path, 900)->width(), 1600U);
        engine::ScanArea area;
        area.width = area.height = 75;
        area.x_dpi = area.y_dpi = 75;
        for (const Pixel pixel : scan(path, area))
            ASSERT_NEAR(static_cast<int>(pixel & 0xFF), 90, 2);
    }
}

TEST_F(PictureTest, damaged_files_are_refused_and_scan_as_far_as_they_go) {
    const std::string paths[] = {
        write_png(std::vector<std::uint8_t>(3000, 77), 900, PNG_INTERLACE_NONE, 100),
        write_jpeg(800, 800, 77, 100, false)};
    for (const std::string &path : paths) {
        EXPECT_NO_THROW(engine::check_picture(path));
        std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
        EXPECT_THROW(engine::check_picture(path), engine::PictureError);
        engine::ScanArea area;
        area.width = 850;
        area.height = 3000;
        area.x_dpi = area.y_dpi = 100;
        const std::vector<Pixel> pixels = scan(path, area);
        EXPECT_NEAR(static_cast<int>(pixels[0] & 0xFF), 77, 2);
        EXPECT_EQ(pixels.back(), engine::white);
        std::filesystem::resize_file(path, 20);
        EXPECT_THROW(engine::open_picture(path), engine::PictureError);
    }
    for (const char *none : {"/nonexistent", "/dev/zero", "/etc/passwd", "/tmp"})
        EXPECT_THROW(engine::open_picture(none), engine::PictureError) << none;
}

} // namespace
} // namespace varn::test
