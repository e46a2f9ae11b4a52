// Translation of settings, element by element.
#include "tests/escl/translation.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <cstring>

using namespace varn::test;

namespace {

using B = varn_scan_param;
using Settings = SettingsTest;

/// Bits that the mere presence of some elements sets.
void post(B &b) {
    b.dwImageProcess |= 0x880000;
    b.dwImageProcess2 |= 0x1c0;
}
void bi_level(B &b) {
    b.byOutDataType = 1, b.byInPixelBits = 8, b.byOutPixelBits = 1, b.byChannelDropOut = 6;
    b.wImageOutputMode = 166, b.dwImageProcess2 |= 8, b.dwWidthBytes = 319;
}
void grey(B &b) {
    b.byOutDataType = 2, b.byOutPixelBits = 8, b.byChannelDropOut = 6;
    b.wImageOutputMode = 101, b.dwWidthBytes = 2550;
}

struct Row {
    const char *elements;
    int32_t result;
    void (*change)(B &); ///< to the block of an empty request, or to the start block of a refused
    const char *log = "";
    const char *without = nullptr; ///< text of the capabilities that is replaced
    const char *with = "";
};

// clang-format off
#define SET(...) [](B &b) { __VA_ARGS__; }
const Row rows[] = {
    // Source and sides.
    {"InputSource=Platen", 0, SET(b.dwADF = 0)},
    {"InputSource=Feeder", 0, nullptr},
    {"InputSource=Camera", 0, nullptr, ":#Error: not support input source:Camera \n"},
    {"Duplex=true", 0, SET(b.dwADF = 4)},
    {"Duplex=false", 0, nullptr},
    {"Duplex=1 InputSource=Platen", 0, SET(b.dwADF = 4)},
    {"Duplex=false InputSource=Platen", -1, SET(b.dwADF = 0), ":Duplex Not Support !\n", ">Duplex<", ">None<"},
    // Intent, resolution, overscan.
    {"Intent=Preview", 0, SET(set_window(b, 75, 637, 877))},
    {"Intent=Photo", 0, nullptr},
    {"Intent=Object", -1, nullptr, ":IntentType error, can't support 4 intent!\n"},
    {"Intent=Object InputSource=Platen", 0, SET(b.dwADF = 0)},
    {"XResolution=150 YResolution=150", 0, SET(set_window(b, 150, 1275, 1755))},
    {"XResolution=300", 0, nullptr},
    {"YResolution=200", -1, nullptr, ":Resolution error,XResolution=300,YResolution =200 not support !\n"},
    {"XResolution=300 Intent=Preview", -1, SET(b.wXresolution = b.wYresolution = 75), "YResolution =75 not"},
    {"XResolution=65836", -1, nullptr, "XResolution=65836,"},
    {"Overscan=true AutoCrop=true", 0, SET(b.byMiscOptions = 8, b.byOverScanLines = 100), "~~~~ Overscan detect~~~~~~\n"},
    {"Overscan=false", -1, nullptr},
    // Picture.
    {"DocumentFormatExt=image/jpeg", 0, nullptr},
    {"DocumentFormatExt=image/odd", -1, nullptr, ":DocumentFormatExt error,image/odd not support !\n"},
    {"DocumentFormatExt=application/pdf", 0, nullptr, "Detect PDF mode!!!\n", ">image/jpeg</scan:", ">application/pdf</scan:"},
    {"DocumentFormatExt=image/tiff CompressionFactor=7", -1, SET(b.byCompression = 0), "", ">image/jpeg</scan:", ">image/tiff</scan:"},
    {"DocumentFormatExt=image/jpeg CompressionFactor=7", -1, SET(b.byCompression = 1), ":CompressionFactor error,7 is not in range !\n"},
    {"ContentType=Photo", 0, nullptr},
    {"ContentType=Poster", -1, nullptr, ":ContentType error,Poster not support !\n"},
    {"ColorMode=BlackAndWhite1", 0, bi_level},
    {"ColorMode=Grayscale8", 0, grey},
    {"ColorMode=RGB24", 0, nullptr},
    {"ColorMode=RGB48", -1, nullptr, ":ColorMode error,RGB48 not support !\n"},
    {"ColorMode=RGB48", 0, nullptr, "", ">RGB24<", ">RGB48<"},
    {"ColorMode=scan:AutoColorDetection", 0, nullptr, "", ">RGB24<", ">scan:AutoColorDetection<"},
    {"ColorMode=Sepia", 0, nullptr, ":#Error: not support color mode:Sepia \n", ">RGB24<", ">Sepia<"},
    {"BlackBackground=true", 0, SET(b.byMiscOptions = 1)},
    {"BlackBackground=0", 0, nullptr},
    {"CcdChannel=NTSC", 0, SET(b.byChannelDropOut = 6)},
    {"CcdChannel=GrayCcdEmulated", 0, SET(b.byChannelDropOut = 6)},
    {"CcdChannel=Red", 0, SET(b.byChannelDropOut = 1)},
    {"CcdChannel=Green", 0, SET(b.byChannelDropOut = 2)},
    {"CcdChannel=Blue", 0, SET(b.byChannelDropOut = 3)},
    {"CcdChannel=GrayCcd", 0, nullptr},
    {"CcdChannel=Infrared", -1, nullptr, ":CcdChannels error,Infrared not support !\n"},
    // Feeder.
    {"MultipickDetection=true", 0, SET(b.byMiscOptions = 4)},
    {"MultipickDetection=false", 0, nullptr},
    {"MultipickDetection=false", -1, nullptr, ":MultipickDetection Not Support !\n", ">MultipickDetection<", ">None<"},
    {"MultipickDetectionAction=StopJob", 0, SET(b.dwImageProcess2 |= 0x800000), "scan__MultipickDetectionActionType__StopJob\n"},
    {"MultipickDetectionAction=ContinueJob", 0, SET(b.dwImageProcess2 |= 0x400000), "scan__MultipickDetectionActionType__ContinueJob\n"},
    {"MultipickDetectionAction=9", -1, nullptr, "TBD for unknown action ==9\n"},
    {"NumberOfPages=60", 0, SET(b.wPagesToScan = 60)},
    {"NumberOfPages=61", -1, nullptr, ":NumberOfPages 61 > FeederCapacity 60  !\n"},
    {"NumberOfPages=65541", 0, SET(b.wPagesToScan = 5), "", "<scan:FeederCapacity>60</scan:FeederCapacity>"},
    // Processing.
    {"AutoCrop=true", 0, post, "~~~~~~AutoCrop~~~~~~~~~ \n"},
    {"AutoCrop=false", 0, nullptr},
    {"AutoCrop=false", -1, nullptr, ":AutoCrop Not Support !\n", "<scan:AutoCrop>true<", "<scan:AutoCrop>false<"},
    {"CarrierSheet=false", -1, nullptr, ":CarrierSheet Not Support !\n"},
    {"CarrierSheet=true", 0, SET(b.dwImageProcess2 |= 0x200000), "~~~~~~CarrierSheet~~~~~~~~~ \n", "<scan:CarrierSheetSupport>false<", "<scan:CarrierSheetSupport>true<"},
    {"AutoExposure=true", 0, SET(post(b), b.dwImageProcess |= 0x400000)},
    {"AutoCrop=false AutoExposure=false", 0, post},
    {"AutoExposure=false", -1, post, ":AutoExposure Not Support !\n", "<scan:AutoExposure>true</scan:AutoExposure>"},
    {"BlankPageDetection=true", 0, SET(post(b), b.dwImageProcess |= 0x100000)},
    {"BlankPageDetection=true BlankPageDetectionAndRemoval=false", 0, post},
    {"BlankPageDetection=false", -1, post, ":BlankPageDetectionAndRemoval Not Support !\n", "<scan:BlankPageDetection>true<", "<scan:BlankPageDetection>false<"},
    {"BlankPageDetectionAndRemoval=true", 0, SET(post(b), b.dwImageProcess |= 0x100000)},
    {"BlankPageDetectionAndRemoval=true", -1, post, ":BlankPageDetectionAndRemoval Not Support !\n", "<scan:BlankPageDetectionAndRemoval>true<", "<scan:BlankPageDetectionAndRemoval>false<"},
    {"AutoColorDetectionMode=DetectOnly", 0, SET(post(b), b.dwImageProcess |= 0x40040)},
    {"AutoColorDetectionMode=TreatNonColorAsGrayscale8", 0, SET(post(b), b.dwImageProcess |= 0x40040, b.byColorDetectMode = 16)},
    {"AutoColorDetectionMode=TreatNonColorAsBlackAndWhite1", -1, post, "!!!!!!!Not support scan__AutoColorDetectionMode__TreatNonColorAsBlackAndWhite1!!!!! \n"},
    // Levels.
    {"", 0, nullptr, "Can't find compressionfactor, use default 5\n"},
    {"CompressionFactor=6", 0, SET(b.byCompression = 7)},
    {"CompressionFactor=261", 0, SET(b.byCompression = 6)},
    {"CompressionFactor=-1", -1, nullptr, ":CompressionFactor error,255 is not in range !\n"},
    {"CompressionFactor=1", -1, nullptr, ":CompressionFactor error,1 is not in range !\n", "CompressionFactorSupport>", "Odd>"},
    {"Threshold=200", 0, SET(b.byHalftoneThreshold = 200)},
    {"Threshold=255", -1, SET(b.byCompression = 5), ":Threshold error,255 is not in range !\n", "<scan:Max>255<", "<scan:Max>254<"},
    // What has no meaning here is passed over.
    {"Version=9 FeedDirection=LongEdgeFeed Sharpen=3 FeederPickStop=true Unknown=Duplex", 0, nullptr},
};
#undef SET
// clang-format on

TEST_F(Settings, each_element_changes_its_fields_alone) {
    for (const Row &row : rows) {
        SCOPED_TRACE(std::string(row.elements) + " " + (row.without ? row.without : ""));
        change_capabilities(row.without ? row.without : "<scan:Adf>",
                            row.without ? row.with : "<scan:Adf>");
        const Translation t = translate(row.elements);
        B expected = row.result == 0 ? empty_request_block() : start_block();
        if (row.change != nullptr)
            row.change(expected);
        EXPECT_EQ(t.result, row.result);
        EXPECT_EQ(difference(t.block, expected), "");
        EXPECT_NE(t.log.find(row.log), t.log.npos) << t.log;
    }
}

TEST_F(Settings, words_beside_the_block) {
    translate("ColorMode=BlackAndWhite1");
    EXPECT_EQ(escl_get_image_file_type(), 3);
    translate("ColorMode=Grayscale8 AutoExposure=true NumberOfPages=7");
    EXPECT_EQ(escl_get_image_file_type(), 0);
    EXPECT_EQ(AUTO_THRESHOLD_flg, 1);
    EXPECT_EQ(SinglePageMode, 7);
    change_capabilities(">image/jpeg</scan:D", ">application/pdf</scan:D");
    translate("DocumentFormatExt=application/pdf");
    EXPECT_EQ(escl_isPDF(), 1);
    EXPECT_EQ(AUTO_THRESHOLD_flg, 0);
    EXPECT_EQ(SinglePageMode, 0);
    const Translation network = translate("", 2);
    EXPECT_EQ(network.block.byHostIsNetwork, 1);
    EXPECT_EQ(escl_isPDF(), 0);
    EXPECT_EQ(network.multipick.words[0], 91U) << "left alone without an exclusion length";
    EXPECT_EQ(network.multipick.words[2], 0U);
}

TEST_F(Settings, sensitivity_falls_into_bands_of_a_fifth) {
    const struct {
        int max, value, level; // -1: refused; 2 also stands for no band
    } bands[] = {{100, 0, 0},   {100, 20, 0},   {100, 21, 1},  {100, 40, 1}, {100, 60, 2},
                 {100, 61, 3},  {100, 81, 4},   {100, 100, 4}, {12, 2, 0},   {12, 3, 1},
                 {12, 10, 4},   {12, 11, 2},    {12, 12, 2},   {4, 0, 0},    {4, 3, 2},
                 {100, -1, -1}, {100, 101, -1}, {12, 13, -1}};
    for (const std::string name : {"BlankPage", "Color"})
        for (const auto &band : bands) {
            const std::string support = name + "SensitivitySupport>\n    <scan:Min>0</scan:Min>\n"
                                               "    <scan:Max>";
            change_capabilities(support + "100<", support + std::to_string(band.max) + "<");
            const std::string value = std::to_string(band.value);
            const Translation t = translate(name + "Sensitivity=" + value);
            SCOPED_TRACE(t.log);
            EXPECT_EQ(t.result, band.level < 0 ? -1 : 0);
            const bool blank = name == "BlankPage";
            EXPECT_EQ(blank ? t.block.byBlankPageSensitivity : t.block.byColorDetectSensitivity,
                      band.level < 0 ? 2 : band.level);
            EXPECT_NE(t.block.dwImageProcess & 0x880000, 0U);
            const std::string head = ":" + name + "Sensitivity";
            const std::string level = std::to_string(band.level);
            const std::string field = blank ? "byBlankPage" : "byColorDetect";
            const std::vector<std::string> lines =
                band.level < 0
                    ? std::vector{head + "Value error," + value + " is not in range !\n"}
                    : std::vector{head + "Value = " + value + " !!!!!!!\n",
                                  head + "Level = " + std::to_string(band.max / 5) + " !!!!!!!\n",
                                  ":param->" + field + "Sensitivity = " + level + " !!!!!!!\n"};
            for (const std::string &line : lines)
                EXPECT_NE(t.log.find(line), t.log.npos) << line;
        }
}

TEST_F(Settings, exclusion_length_is_carried_over_from_job_to_job) {
    const Translation first = translate("MultipickExclusionLength=11");
    EXPECT_EQ(first.multipick.words[0], 2U);
    EXPECT_EQ(first.multipick.words[1], 0U);
    EXPECT_EQ(first.multipick.words[2], 600U); // two quarters of an inch
    EXPECT_EQ(first.multipick.words[3], 94U);
    EXPECT_EQ(translate("").multipick.words[2], 600U * 300);
    EXPECT_EQ(translate("Intent=Preview").multipick.words[2], 600U * 300 * 300 / 4);
    EXPECT_EQ(translate("MultipickExclusionLength=3").multipick.words[2], 0U);
}

TEST_F(Settings, image_quality_file_takes_matrix_sharpness_and_compression) {
    tree.put("tmp/xml_tickets/eSCL/IQ.txt",
             "Matrix 1 2 3 4 5 6 7 8 -9\nTone 220 10 20 30 40\nSharp 0\nCompression 258\n");
    B expected = empty_request_block();
    expected.bySharpSmooth = 0;
    expected.byCompression = 2;
    EXPECT_EQ(difference(translate("").block, expected), "");
    EXPECT_EQ(IQ_Test, 1);
    const uint16_t transposed[9] = {1, 4, 7, 2, 5, 8, 3, 6, 65527};
    EXPECT_EQ(memcmp(dbColorMatrixParam, transposed, sizeof transposed), 0);
    tree.put("tmp/xml_tickets/eSCL/IQ.txt", "Matrix 1 oops"); // what is missing counts as 0
    expected.byCompression = 0;
    EXPECT_EQ(difference(translate("").block, expected), "");
    tree.remove("tmp/xml_tickets/eSCL/IQ.txt");
    EXPECT_EQ(difference(translate("").block, empty_request_block()), "");
    EXPECT_EQ(IQ_Test, 0);
}

TEST_F(Settings, bodies_that_cannot_be_read_count_as_empty) {
    const std::string good = scan_settings("InputSource=Platen");
    for (const std::string &body :
         {std::string(), std::string("POST / HTTP/1.1\r\n\r\n"), good.substr(0, good.size() - 5),
          scan_settings("InputSource=Platen Duplex=maybe"),
          scan_settings("<pwg:InputSource>Platen</pwg:InputSource>" + std::string(70000, ' '))}) {
        const Translation t = translate_text(body);
        EXPECT_EQ(t.result, 0);
        EXPECT_EQ(difference(t.block, empty_request_block()), "") << body.substr(0, 100);
        EXPECT_EQ(t.log.find("gsoap mode:eSCL_ParseScanParam\n"), 0U);
    }
    const Translation read = translate_text(good);
    EXPECT_NE(read.log.find("soap_read_scan__ScanSettingsType error=0\n"
                            "soap_read_scan__ScannerCapabilitiesType error=0\n"),
              read.log.npos);
    // Without capabilities every list and range is empty.
    tree.remove(capabilities_path);
    EXPECT_EQ(translate("").result, 0);
    EXPECT_TRUE(tree.has(capabilities_path));
    EXPECT_EQ(translate("Intent=Document").result, -1);
}

TEST_F(Settings, another_schema_host_and_root_name_are_understood) {
    const Translation t = translate_text(
        "<?xml version=\"1.0\"?><s:Settings xmlns:s=\"http://other.example/escl/2011/05/03\""
        " xmlns:p=\"http://www.pwg.org/schemas/2010/12/sm\"><p:InputSource>Platen</p:InputSource>"
        "<s:ColorMode>Grayscale8</s:ColorMode></s:Settings>");
    EXPECT_EQ(t.block.dwADF, 0U);
    EXPECT_EQ(t.block.byOutDataType, 2);
}

TEST_F(Settings, capabilities_are_brought_up_to_date_once) {
    tree.remove("tmp/escl_cap_OK");
    change_capabilities("CarrierSheetSupport>false<", "CarrierSheetSupport>true<");
    tree.put("tmp/xml_tickets/eSCL/Stored.xml", scan_settings(""));
    EXPECT_NE(translate_ticket("Stored").log.find("Init eSCL scan capa....\n"), std::string::npos);
    EXPECT_FALSE(tree.has("tmp/escl_cap_OK")) << "a stored job leaves no marker";
    EXPECT_NE(translate("").log.find("Init eSCL scan capa....\n"), std::string::npos);
    EXPECT_TRUE(tree.has("tmp/escl_cap_OK"));
    EXPECT_EQ(translate("").log.find("Init eSCL"), std::string::npos);
    EXPECT_EQ(text_of(tree.get(capabilities_path), "scan:CarrierSheetSupport"), "false");
}

TEST_F(Settings, stored_job_is_translated_from_its_ticket) {
    tree.put("tmp/xml_tickets/eSCL/Stored.xml",
             scan_settings("XResolution=150 YResolution=150 Gamma=220"));
    tree.put("tmp/xml_tickets/eSCL/IQ.txt", "Matrix 1 2 3 4 5 6 7 8 9 T 1 1 1 1 1 S 0 C 3");
    escl_scan_pdf = IQ_Test = scan_withRJ = 5;
    const Translation t = translate_ticket("Stored");
    EXPECT_EQ(t.result, 0);
    B expected = empty_request_block();
    set_window(expected, 150, 1275, 1755);
    EXPECT_EQ(difference(t.block, expected), "");
    EXPECT_EQ(t.gamma.wGamma, 220);
    EXPECT_EQ(escl_scan_pdf + IQ_Test + scan_withRJ, 15) << "left alone";
    size_t at = 0;
    for (const char *line :
         {"!!!! JobName_str = Stored \n", "soap_read_scan__ScanSettingsType error=0\n",
          "RJ use default", "==============Scan Parameter==================\n", "dwADF = 6\n",
          "dwWidthPixels = 1275\n", "ScanWindow.yExtent = 1755\n", "wYScaleRatio = 100\n",
          "byRotateMode_Top = 0\nbyRotateMode_Bottom = 0\n", "dwImageProcess = 32843\n",
          "byPDFType = 0\nbyTIFType = 0\nbySharpSmooth = 1\nbyOverScanLines = 0\n"
          "dwRealLineNum = 1755\n",
          "dwReserved[0] = 0\ndwReserved[1] = 79\n", "dwReserved[5] = 0\n"}) {
        at = t.log.find(line, at);
        ASSERT_NE(at, t.log.npos) << line << t.log;
    }
    for (const char *name : {"Missing", "../eSCL/Stored", ""})
        EXPECT_EQ(translate_ticket(name).result, -1) << name;
}

TEST_F(Settings, tone_settings_replace_the_engine_s_record) {
    translate("");
    EXPECT_EQ(GammaTableSettingValue, 0) << "the engine holds the defaults";
    const Translation t = translate("Gamma=158 Highlight=1733 Shadow=39");
    const varn_gamma_str expected = {158, 1003, 1003, 1733, 39};
    EXPECT_EQ(memcmp(&t.gamma, &expected, sizeof expected), 0);
    EXPECT_EQ(GammaTableSettingValue, 1);
    EXPECT_NE(t.log.find("~~USE ZQ Scan Default Gamma Table~~"), t.log.npos);
}

} // namespace
