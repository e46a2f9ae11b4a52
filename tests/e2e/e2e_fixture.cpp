#include "tests/e2e/e2e_fixture.h"

#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

namespace varn::testing {
namespace {

struct ErrorManager {
    jpeg_error_mgr base;
    std::jmp_buf leave;
};

void leave_decoder(j_common_ptr decoder) {
    std::longjmp(reinterpret_cast<ErrorManager *>(decoder->err)->leave, 1);
}

} // namespace

Picture decode_jpeg(const std::string &bytes) {
    jpeg_decompress_struct decoder = {};
    ErrorManager errors = {};
    decoder.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = leave_decoder;
    std::vector<JSAMPLE> line;
    Picture picture;
    if (setjmp(errors.leave) != 0) {
        jpeg_destroy_decompress(&decoder);
        return {};
    }
    jpeg_create_decompress(&decoder);
    jpeg_mem_src(&decoder, reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
    jpeg_read_header(&decoder, TRUE);
    jpeg_start_decompress(&decoder);
    line.resize(static_cast<std::size_t>(decoder.output_width) * decoder.output_components);
    JSAMPROW row = line.data();
    while (decoder.output_scanline < decoder.output_height)
        jpeg_read_scanlines(&decoder, &row, 1);
    picture = {decoder.output_width, decoder.output_height, decoder.num_components};
    // A warning is data that ended early and was made up.
    const bool whole = errors.base.num_warnings == 0;
    jpeg_finish_decompress(&decoder);
    jpeg_destroy_decompress(&decoder);
    return whole ? picture : Picture();
}

int ScannerTest::put(const std::string &path, const std::string &xml) {
    return testing::status_of(ask_raw("PUT", path, xml));
}

std::string ScannerTest::ask_raw(const std::string &method, const std::string &path,
                                 const std::string &body) {
    RawConnection connection(scanner_.port());
    connection.send(method + " " + path + " HTTP/1.1\r\nHost: localhost:80\r\n" +
                    "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    return connection.receive();
}

Job ScannerTest::start(const client::ScanSettings &settings) {
    return start(client::settings_document(settings));
}

Job ScannerTest::start(const std::string &settings_xml) {
    const client::HttpAnswer answer =
        http_.post_xml(scanner_.url() + "/eSCL/ScanJobs", settings_xml);
    Job job{answer.status, answer.location, {}};
    if (const auto slash = job.location.rfind('/'); slash != std::string::npos)
        job.uuid = job.location.substr(slash + 1);
    return job;
}

std::vector<Picture> ScannerTest::fetch_all(const Job &job, int *last) {
    std::vector<Picture> pictures;
    for (;;) {
        const client::HttpAnswer answer = next_document(job);
        if (last)
            *last = answer.status;
        if (answer.status != 200)
            return pictures;
        EXPECT_EQ(answer.failure, "");
        EXPECT_EQ(answer.content_type, "image/jpeg");
        pictures.push_back(decode_jpeg(answer.body));
    }
}

client::JobStatus ScannerTest::status_of_job(const Job &job) {
    return client::parse_status(get("/eSCL/ScannerStatus").body, job.uuid);
}

bool ScannerTest::job_gets(const Job &job, const std::string &state) {
    return eventually([&] { return status_of_job(job).state == state; });
}

void ScannerTest::expect_scanner_works() {
    Job job;
    EXPECT_TRUE(eventually([&] { return (job = start(small_scan("flatbed"))).status == 201; }));
    int last = 0;
    EXPECT_EQ(fetch_all(job, &last).size(), 1U);
    EXPECT_EQ(last, 404);
    EXPECT_TRUE(job_gets(job, "Completed"));
}

client::ScanSettings small_scan(const std::string &source) {
    client::ScanSettings settings;
    settings.source = source;
    settings.resolution = 75;
    return settings;
}

std::string product_settings(const std::string &elements) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<prdcfgdyn2:ProductConfigDyn "
           "xmlns:prdcfgdyn2=\"http://schemas.varn.example/schemas/imaging/con/varn/"
           "productconfigdyn/2009/03/16\" "
           "xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">"
           "<prdcfgdyn2:ProductSettings>" +
           elements + "</prdcfgdyn2:ProductSettings></prdcfgdyn2:ProductConfigDyn>\n";
}

std::string asset_number(const std::string &value) {
    return product_settings("<dd:AssetNumber>" + value + "</dd:AssetNumber>");
}

} // namespace varn::testing
