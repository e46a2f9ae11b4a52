#include "bench/http_pages.h"

#include "bench/http_socket.h"
#include "device/client/settings.h"
#include "device/engine/pictures/pixels.h"
#include "device/engine/pictures/test_sheets.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <thread>

#include <jpeglib.h>

namespace varn::bench {
namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr unsigned page_width = 2480; // A4, three-hundredths of an inch
constexpr unsigned page_height = 3508;
constexpr int quality = 75;

double ms_since(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

AnswerReader answer_on(const Socket &socket) {
    AnswerReader answer;
    while (!answer.receive(socket)) {
    }
    return answer;
}

std::string scan_request(const std::string &mode) {
    client::ScanSettings settings;
    settings.source = "flatbed";
    settings.mode = mode;
    settings.format = "jpeg";
    settings.window = client::Window{0, 0, page_width, page_height};
    const std::string xml = client::settings_document(settings);
    return "POST /eSCL/ScanJobs HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: text/xml\r\n"
           "Content-Length: " +
           std::to_string(xml.size()) + "\r\n\r\n" + xml;
}

/// The job ends by itself once its only image is through.
void wait_for_end(const Socket &socket, const std::string &next_document) {
    for (;;) {
        socket.send(get_request(next_document, true));
        const int status = answer_on(socket).status();
        if (status == 404)
            return;
        if (status != 503)
            throw std::runtime_error("the job ends with status " + std::to_string(status));
    }
}

} // namespace

PageTimes scan_page(int port, const std::string &mode, std::string &image) {
    const Socket socket(port);
    const std::string request = scan_request(mode);
    const auto begin = Clock::now();
    socket.send(request);
    const AnswerReader created = answer_on(socket);
    const std::string location = created.field("Location");
    if (created.status() != 201 || location.empty())
        throw std::runtime_error("the scan is refused: " + std::to_string(created.status()));
    const std::string path = location.substr(location.find("/eSCL/")) + "/NextDocument";

    socket.send(get_request(path, true));
    PageTimes times;
    AnswerReader page;
    for (bool whole = false; !whole;) {
        whole = page.receive(socket);
        if (times.first_byte_ms == 0 && page.has_body_begun())
            times.first_byte_ms = ms_since(begin);
    }
    times.last_byte_ms = ms_since(begin);
    if (page.status() != 200)
        throw std::runtime_error("no page: status " + std::to_string(page.status()));
    image = page.body();
    wait_for_end(socket, path);
    return times;
}

PlainPage::PlainPage(bool colour) : colour_(colour) {
    engine::ScanArea area;
    area.width = page_width;
    area.height = page_height;
    const auto sheet = engine::scan_test_sheet({engine::TestPicture::chart}, 1, false, area);
    std::vector<engine::Pixel> pixels(std::size_t{page_width} * page_height);
    sheet->read(pixels.data(), page_height);
    rows_.resize(pixels.size() * (colour ? 4 : 1));
    if (colour)
        std::memcpy(rows_.data(), pixels.data(), rows_.size());
    else
        engine::to_grey(pixels.data(), pixels.size(), 0, rows_.data());
}

double PlainPage::code(std::string &image) const {
    const auto begin = Clock::now();
    jpeg_error_mgr errors = {};
    jpeg_compress_struct jpeg = {};
    jpeg.err = jpeg_std_error(&errors); // ends the program on an error
    jpeg_create_compress(&jpeg);
    unsigned char *file = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &file, &size);
    jpeg.image_width = page_width;
    jpeg.image_height = page_height;
    jpeg.input_components = colour_ ? 4 : 1;
    jpeg.in_color_space = colour_ ? JCS_EXT_BGRX : JCS_GRAYSCALE;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, quality, TRUE);
    jpeg.density_unit = 1;
    jpeg.X_density = jpeg.Y_density = 300;
    jpeg_start_compress(&jpeg, TRUE);
    const std::size_t stride = rows_.size() / page_height;
    while (jpeg.next_scanline < page_height) {
        JSAMPROW row = const_cast<JSAMPROW>(rows_.data() + jpeg.next_scanline * stride);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    const double taken = ms_since(begin);
    image.assign(reinterpret_cast<const char *>(file), size);
    jpeg_destroy_compress(&jpeg);
    std::free(file);
    return taken;
}

} // namespace varn::bench
