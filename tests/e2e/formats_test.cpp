/// Scans as PDF, TIFF and raw lines.

#include "tests/e2e/e2e_fixture.h"

#include <fstream>
#include <tiffio.h>

namespace varn::testing {
namespace {

namespace fs = std::filesystem;

class Formats : public ScannerTest {
protected:
    std::string save(const std::string &name, const std::string &bytes) {
        const std::string file = directory_.path() / name;
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }
    /// A value of the list that pdfinfo prints.
    std::string pdf_value(const std::string &file, const std::string &name) {
        const std::string output = run_program({PDFINFO_PROGRAM, file}).output;
        const auto at = output.find(name + ":");
        if (at == std::string::npos)
            return output;
        const auto begin = output.find_first_not_of(' ', at + name.size() + 1);
        return output.substr(begin, output.find('\n', begin) - begin);
    }
    ProgramResult scan(std::vector<std::string> arguments) {
        std::vector<std::string> command = {SCAN_PROGRAM, "--url", scanner_.url(), "--out",
                                            directory_.path() / "scans"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return run_program(command);
    }

    TemporaryDirectory directory_;
};

TEST_F(Formats, AJobInPdfIsOneDocument) {
    for (const char *mode : {"color", "gray"}) {
        ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
        client::ScanSettings settings = small_scan("feeder");
        settings.mode = mode;
        settings.format = "pdf";
        settings.resolution = 100;
        const Job job = start(settings);
        ASSERT_EQ(job.status, 201);
        const client::HttpAnswer answer = next_document(job);
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.failure, "");
        EXPECT_EQ(answer.content_type, "application/pdf");
        EXPECT_EQ(next_document(job).status, 404);
        EXPECT_TRUE(job_gets(job, "Completed"));
        const std::string file = save("job.pdf", answer.body);
        EXPECT_EQ(pdf_value(file, "Pages"), "3");
        EXPECT_TRUE(pdf_value(file, "Page size").starts_with("612 x 842.4 pts"))
            << pdf_value(file, "Page size");
    }
}

TEST_F(Formats, APdfThatBreaksOffKeepsThePagesBefore) {
    ASSERT_TRUE(scanner_.ctl({"feeder", "load", "3"}));
    ASSERT_TRUE(scanner_.ctl({"fault", "jam", "3", "start"}));
    client::ScanSettings settings = small_scan("feeder");
    settings.format = "pdf";
    const Job job = start(settings);
    const client::HttpAnswer answer = next_document(job);
    EXPECT_EQ(answer.failure, "");
    EXPECT_EQ(pdf_value(save("job.pdf", answer.body), "Pages"), "2");
    EXPECT_EQ(next_document(job).status, 410);
}

struct TiffFacts {
    unsigned width = 0;
    unsigned height = 0;
    unsigned samples = 0;
    unsigned bits = 0;
    bool decodes = false;
};

TiffFacts read_tiff(const std::string &file) {
    TiffFacts facts;
    TIFF *tiff = TIFFOpen(file.c_str(), "r");
    if (!tiff)
        return facts;
    std::uint16_t samples = 0;
    std::uint16_t bits = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &facts.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &facts.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    facts.samples = samples;
    facts.bits = bits;
    std::vector<unsigned char> line(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    facts.decodes = true;
    for (unsigned i = 0; i < facts.height && facts.decodes; ++i)
        facts.decodes = TIFFReadScanline(tiff, line.data(), i) == 1;
    TIFFClose(tiff);
    return facts;
}

TEST_F(Formats, TiffAndRawInEveryColourMode) {
    const struct {
        const char *mode;
        unsigned samples;
        unsigned bits;
    } rows[] = {{"color", 3, 8}, {"gray", 1, 8}, {"bw", 1, 1}};
    for (const auto &row : rows) {
        client::ScanSettings settings = small_scan("flatbed");
        settings.mode = row.mode;
        settings.resolution = 100;
        settings.format = "tiff";
        Job job;
        ASSERT_TRUE(eventually([&] { return (job = start(settings)).status == 201; }));
        client::HttpAnswer answer = next_document(job);
        EXPECT_EQ(answer.status, 200) << row.mode << answer.body << answer.failure;
        EXPECT_EQ(answer.content_type, "image/tiff") << row.mode;
        EXPECT_TRUE(job_gets(job, "Completed")) << row.mode;
        const TiffFacts facts = read_tiff(save("image.tif", answer.body));
        EXPECT_EQ(facts.width, 850U) << row.mode;
        EXPECT_EQ(facts.height, 1170U) << row.mode;
        EXPECT_EQ(facts.samples, row.samples) << row.mode;
        EXPECT_EQ(facts.bits, row.bits) << row.mode;
        EXPECT_TRUE(facts.decodes) << row.mode;

        settings.format = "raw";
        ASSERT_TRUE(eventually([&] { return (job = start(settings)).status == 201; }));
        answer = next_document(job);
        EXPECT_EQ(answer.content_type, "application/octet-stream") << row.mode;
        EXPECT_TRUE(job_gets(job, "Completed")) << row.mode;
        EXPECT_EQ(answer.body.size(), (850 * row.samples * row.bits + 7) / 8 * 1170) << row.mode;
    }
    expect_scanner_works(); // and JPEG is back
}

TEST_F(Formats, TheClientAsksForThemByName) {
    const struct {
        const char *format;
        const char *file;
    } rows[] = {{"jpeg", "page-001.jpg"},
                {"pdf", "page-001.pdf"},
                {"tiff", "page-001.tif"},
                {"raw", "page-001.raw"}};
    for (const auto &row : rows) {
        const ProgramResult result = scan({"--source", "flatbed", "--resolution", "75", "--format",
                                           row.format, "--gamma", "150"});
        EXPECT_EQ(result.status, 0) << result.output;
        EXPECT_TRUE(fs::exists(directory_.path() / "scans" / row.file)) << result.output;
    }
    const ProgramResult secured = scan({"--url", scanner_.url("https"), "--source", "flatbed",
                                        "--resolution", "75", "--format", "pdf"});
    EXPECT_EQ(secured.status, 0) << secured.output;
    EXPECT_EQ(scan({"--source", "flatbed", "--format", "image/gif"}).status, 1);
    EXPECT_EQ(scan({"--gamma", "dark"}).status, 2);
}

} // namespace
} // namespace varn::testing
