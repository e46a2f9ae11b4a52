/// Buffer information: settings come back corrected and completed, and the walk always ends.

#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <string>

using namespace varn::test;

namespace {

constexpr char capabilities[] = "tmp/xml_tickets/eSCL/ScannerCapabilities";

using BufferInfo = DeviceTest;

std::string info_of(const std::string &body) {
    std::string request = body;
    char *buffer = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(escl_get_scanbufferinfo(request.data(), static_cast<uint32_t>(request.size()),
                                      &buffer, &length),
              0);
    std::string document = buffer != nullptr ? std::string(buffer, length) : "";
    free(buffer);
    return document;
}

TEST_F(BufferInfo, ValuesAreCorrectedAndNumbersTold) {
    const struct {
        const char *elements;
        const char *tag;
        const char *value;
        const char *width, *height, *bytes;
    } rows[] = {
        {"<scan:Intent>Preview</scan:Intent><pwg:InputSource>Feeder</pwg:InputSource>",
         "scan:XResolution", "75", "0", "0", "0"},
        {"<scan:ColorMode>RGB48</scan:ColorMode>", "scan:ColorMode", "RGB24", "0", "0", "0"},
        {"<scan:XResolution>301</scan:XResolution><pwg:InputSource>Platen</pwg:InputSource>"
         "<pwg:ScanRegions><pwg:ScanRegion><pwg:Height>300</pwg:Height>"
         "<pwg:ContentRegionUnits>u</pwg:ContentRegionUnits><pwg:Width>600</pwg:Width>"
         "<pwg:XOffset>0</pwg:XOffset><pwg:YOffset>0</pwg:YOffset></pwg:ScanRegion>"
         "</pwg:ScanRegions><scan:ColorMode>Grayscale8</scan:ColorMode>",
         "scan:YResolution", "300", "600", "300", "600"},
        {"<pwg:ScanRegions><pwg:ScanRegion><pwg:Height>1</pwg:Height>"
         "<pwg:ContentRegionUnits>u</pwg:ContentRegionUnits><pwg:Width>9999</pwg:Width>"
         "</pwg:ScanRegion></pwg:ScanRegions><scan:ColorMode>BlackAndWhite1</scan:ColorMode>",
         "pwg:Height", "3510", "2550", "3510", "319"},
        {"<scan:DocumentFormatExt>image/heic</scan:DocumentFormatExt>", "scan:DocumentFormatExt",
         "image/jpeg", "0", "0", "0"},
        {"<pwg:ContentType>Poem</pwg:ContentType>", "pwg:ContentType", "Text", "0", "0", "0"},
        {"<scan:CcdChannel>Infrared</scan:CcdChannel>", "scan:CcdChannel", "GrayCcdEmulated", "0",
         "0", "0"},
        {"<scan:CompressionFactor>99</scan:CompressionFactor>", "scan:CompressionFactor", "5", "0",
         "0", "0"},
        {"<scan:Duplex>true</scan:Duplex>", "pwg:InputSource", "Feeder", "0", "0", "0"},
    };
    for (const auto &row : rows) {
        const std::string document = info_of(scan_settings(row.elements));
        EXPECT_EQ(text_of(document, row.tag), row.value) << row.elements;
        EXPECT_EQ(text_of(document, "scan:ImageWidth"), row.width) << row.elements;
        EXPECT_EQ(text_of(document, "scan:ImageHeight"), row.height) << row.elements;
        EXPECT_EQ(text_of(document, "scan:BytesPerLine"), row.bytes) << row.elements;
        EXPECT_EQ(schema_fault(document), "") << document;
    }
}

constexpr char everything[] =
    "<scan:Intent>Object</scan:Intent><scan:XResolution>1</scan:XResolution><pwg:ScanRegions>"
    "<pwg:ScanRegion><pwg:Height>1</pwg:Height><pwg:ContentRegionUnits>u</pwg:ContentRegionUnits>"
    "<pwg:Width>1</pwg:Width></pwg:ScanRegion></pwg:ScanRegions>"
    "<scan:DocumentFormatExt>x</scan:DocumentFormatExt><pwg:ContentType>x</pwg:ContentType>"
    "<scan:ColorMode>x</scan:ColorMode><scan:CcdChannel>x</scan:CcdChannel>"
    "<scan:Threshold>5</scan:Threshold><scan:CompressionFactor>5</scan:CompressionFactor>";

TEST_F(BufferInfo, EndsThoughTheCapabilitiesRefuseTheCorrections) {
    for (const char *content : {"", "<scan:ScannerCapabilities/>", "no document"}) {
        tree.put(capabilities, content);
        const std::string document = info_of(scan_settings(everything));
        EXPECT_EQ(text_of(document, "scan:Intent"), "Document") << content;
        EXPECT_EQ(text_of(document, "scan:XResolution"), "300") << content;
        EXPECT_EQ(text_of(document, "scan:ColorMode"), "RGB24") << content;
        EXPECT_EQ(text_of(document, "scan:Threshold"), "128") << content;
    }
}

TEST_F(BufferInfo, AnUnreadableRequestIsOneWithoutElements) {
    for (const char *body : {"", "<scan:ScanSettings><unfinished", "GET / HTTP/1.0\r\n\r\n"}) {
        const std::string document = info_of(body);
        EXPECT_EQ(text_of(document, "pwg:InputSource"), "Platen") << body;
        EXPECT_EQ(text_of(document, "scan:ColorSpace"), "YCC") << body;
    }
}

} // namespace
