/// Translation of scan settings: the document, the order of its elements, and the outcome.

#include "escl/reserve_jobs.h"
#include "escl/settings_io.h"
#include "escl/settings_parts.h"
#include "frame/document.h"
#include "frame/root.h"
#include "varn/escl_capabilities.h"
#include "varn/escl_reserve.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>

namespace varn {
namespace {

constexpr char capabilities_file[] = "/web/eSCL/ScannerCapabilities";
constexpr char capabilities_marker[] = "/tmp/escl_cap_OK";
constexpr char image_quality_file[] = "/tmp/xml_tickets/eSCL/IQ.txt";

/// Brings the capabilities up to date once after the volatile files were made.
void refresh_capabilities(bool leave_marker) {
    const std::string marker = device_path(capabilities_marker);
    if (access(marker.c_str(), R_OK) == 0)
        return;
    puts("Init eSCL scan capa....");
    eSCL_GetScanCapa2(nullptr, nullptr, 0);
    if (leave_marker)
        const UniqueFd made(creat(marker.c_str(), 0666));
}

using Settings = Parsed<scan__ScanSettingsType>;
using Capabilities = Parsed<scan__ScannerCapabilitiesType>;

// --- Image-quality file -------------------------------------------------------------------------

std::optional<ImageQuality> read_image_quality() {
    const std::unique_ptr<FILE, int (*)(FILE *)> file(
        fopen(device_path(image_quality_file).c_str(), "re"), fclose);
    store_word(IQ_Test, file != nullptr ? 1 : 0);
    if (file == nullptr)
        return std::nullopt;
    // Labels stand between the numbers and are thrown away. A number that is not there is 0.
    ImageQuality q;
    int *m = q.matrix;
    [[maybe_unused]] const int taken =
        fscanf(file.get(), "%*s%d%d%d%d%d%d%d%d%d%*s%d%d%d%d%d%*s%d%*s%d", &m[0], &m[1], &m[2],
               &m[3], &m[4], &m[5], &m[6], &m[7], &m[8], &q.gamma, &q.shadow, &q.highlight,
               &q.brightness, &q.contrast, &q.sharpness, &q.compression);
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            dbColorMatrixParam[row * 3 + column] = static_cast<uint16_t>(m[column * 3 + row]);
    return q;
}

void apply_image_quality(const ImageQuality &q, varn_scan_param &block) {
    block.bySharpSmooth = q.sharpness != 0 ? 1 : 0;
    block.byCompression = static_cast<uint8_t>(q.compression);
}

// --- Stored-job requests ------------------------------------------------------------------------

/// 0 to go on as an ordinary scan, else the result of the translation.
int32_t take_stored_job(Settings &settings, const Capabilities &capabilities,
                        const char *job_uuid) {
    if (ChkRJlistNum(varn_mvt_fd) < 0) {
        puts("Return 409 since RJ list is full!");
        return -1;
    }
    const scan__StoredJobRequestType &request = *settings.root.StoredJobRequest;
    if (request.JobName == nullptr && request.PIN == nullptr) {
        store_word(scan_withRJ, 1);
        return 0;
    }
    const scan__StoredJobRequestSupportType *support = capabilities.root.StoredJobRequestSupport;
    if (support == nullptr) {
        store_word(scan_withRJ, 1);
        return -1;
    }
    return job_uuid != nullptr ? store_job(settings, *support, job_uuid) : -1;
}

// --- Element pipeline ---------------------------------------------------------------------------

/// One walk over the elements, in their order. The first refusal ends it.
class Pipeline {
public:
    Pipeline(const scan__ScanSettingsType &settings, scan__ScannerCapabilitiesType &caps,
             varn_scan_param &block, varn_multipick &multipick)
        : s_(settings), caps_(&caps), block_(&block), multipick_(&multipick) {}

    bool run() { return source_and_window() && picture() && feeder() && processing() && levels(); }

private:
    using TextParser = int32_t (*)(scan__ScannerCapabilitiesType *, const char *,
                                   varn_scan_param *);
    using NumberParser = int32_t (*)(scan__ScannerCapabilitiesType *, int32_t, varn_scan_param *);

    bool text(const char *value, TextParser parse) {
        return value == nullptr || parse(caps_, value, block_) == 0;
    }
    template <typename Value>
    bool number(const Value *value, NumberParser parse) {
        return value == nullptr || parse(caps_, static_cast<int32_t>(*value), block_) == 0;
    }
    /// An element whose mere presence switches the post-processing on.
    template <typename Value>
    bool post_processed(const Value *value, NumberParser parse) {
        if (value == nullptr)
            return true;
        set_bits(block_->dwImageProcess, process_auto_crop, true);
        set_bits(block_->dwImageProcess2, process2_auto_crop, true);
        return number(value, parse);
    }
    /// Texts that carry attributes; an element without text counts as empty.
    template <typename Element>
    bool item(const Element *element, TextParser parse) {
        return element == nullptr || text(element->__item != nullptr ? element->__item : "", parse);
    }

    bool resolution() {
        return (s_.XResolution == nullptr && s_.YResolution == nullptr) ||
               parse_Resolution(caps_, s_.XResolution, s_.YResolution, block_) == 0;
    }
    bool source_and_window() {
        item(s_.pwg__InputSource, parse_InputSource);
        return number(s_.Duplex, parse_Duplex) && number(s_.Intent, parse_Intent) && resolution() &&
               number(s_.Overscan, parse_Overscan) &&
               (s_.pwg__ScanRegions == nullptr || parse_ScanRegions(caps_, &s_, block_) == 0);
    }
    bool picture() {
        if (!text(s_.DocumentFormatExt, parse_DocumentFormat) ||
            !item(s_.pwg__ContentType, parse_ContentType) || !text(s_.ColorMode, parse_ColorMode))
            return false;
        if (s_.BlackBackground != nullptr)
            set_bits(block_->byMiscOptions, misc_black_background, is_true(s_.BlackBackground));
        return item(s_.CcdChannel, parse_CcdChannel);
    }
    bool feeder() {
        if (!number(s_.MultipickDetection, parse_MultipickDetection) ||
            !number(s_.MultipickDetectionAction, parse_MultipickDetectionAction))
            return false;
        if (s_.MultipickExclusionLength != nullptr)
            parse_MultipickExclusionLength(caps_, s_.MultipickExclusionLength, multipick_);
        if (s_.NumberOfPages == nullptr)
            store_word(SinglePageMode, 0);
        return text(s_.NumberOfPages, parse_NumberOfPages);
    }
    bool processing() {
        return number(s_.AutoCrop, parse_AutoCrop) && number(s_.CarrierSheet, parse_CarrierSheet) &&
               post_processed(s_.AutoExposure, parse_AutoExposure) &&
               post_processed(s_.BlankPageDetection, parse_BlankPageDetection) &&
               post_processed(s_.BlankPageSensitivity, parse_BlankPageSensitivity) &&
               post_processed(s_.BlankPageDetectionAndRemoval, parse_BlankPageRemoval) &&
               post_processed(s_.AutoColorDetectionMode, parse_AutoColorDetectionMode);
    }
    bool levels() {
        return parse_CompressionFactor(caps_, s_.CompressionFactor, block_) == 0 &&
               number(s_.Threshold, parse_HalftoneThreshod) &&
               post_processed(s_.ColorSensitivity, parse_AutoColorSensitivity);
    }

    const scan__ScanSettingsType &s_;
    scan__ScannerCapabilitiesType *caps_;
    varn_scan_param *block_;
    varn_multipick *multipick_;
};

int32_t walk(const Settings &settings, Capabilities &capabilities, varn_scan_param &block,
             varn_multipick &multipick) {
    return Pipeline(settings.root, capabilities.root, block, multipick).run() ? 0 : -1;
}

/// The window, and the multipick extent that comes of it.
int32_t finish(varn_scan_param &block, varn_multipick &multipick) {
    const int32_t result = scale_window_to_resolution(&block);
    multipick.words[2] = static_cast<uint32_t>(load_word(Multipick_dwIgnoreAreaExtent));
    return result;
}

// --- Log of a stored job's block ----------------------------------------------------------------

void log_block(const varn_scan_param &p) {
    struct Field {
        const char *name;
        uint32_t value;
    };
    const Field fields[] = {
        {"dwADF", p.dwADF},
        {"byInDataType", p.byInDataType},
        {"byOutDataType", p.byOutDataType},
        {"byInPixelBits", p.byInPixelBits},
        {"byOutPixelBits", p.byOutPixelBits},
        {"dwWidthPixels", p.dwWidthPixels},
        {"dwWidthBytes", p.dwWidthBytes},
        {"wXresolution", p.wXresolution},
        {"wYresolution", p.wYresolution},
        {"ScanWindow.xPos", p.ScanWindow.xPos},
        {"ScanWindow.yPos", p.ScanWindow.yPos},
        {"ScanWindow.xExtent", p.ScanWindow.xExtent},
        {"ScanWindow.yExtent", p.ScanWindow.yExtent},
        {"dwPaperWidth", p.dwPaperWidth},
        {"dwPaperHeight", p.dwPaperHeight},
        {"wXScaleRatio", p.wXScaleRatio},
        {"wYScaleRatio", p.wYScaleRatio},
        {"byScaleRatio", p.byScaleRatio},
        {"byRotateMode_Top", p.byRotateMode_Top},
        {"byRotateMode_Bottom", p.byRotateMode_Bottom},
        {"byChannelDropOut", p.byChannelDropOut},
        {"byCompression", p.byCompression},
        {"wImageOutputMode", p.wImageOutputMode},
        {"dwImageProcess", p.dwImageProcess},
        {"byContrastBrightness", p.byContrastBrightness},
        {"byHalftoneThreshold", p.byHalftoneThreshold},
        {"byThresholdRandomRange", p.byThresholdRandomRange},
        {"byHalftoneDitherPattern", p.byHalftoneDitherPattern},
        {"bySpecialMode", p.bySpecialMode},
        {"byMiscOptions", p.byMiscOptions},
        {"byPDFType", p.byPDFType},
        {"byTIFType", p.byTIFType},
        {"bySharpSmooth", p.bySharpSmooth},
        {"byOverScanLines", p.byOverScanLines},
        {"dwRealLineNum", p.dwRealLineNum},
        {"byBlankPageSensitivity", p.byBlankPageSensitivity},
        {"byColorDetectSensitivity", p.byColorDetectSensitivity},
    };
    puts("==============Scan Parameter==================");
    for (const Field &field : fields)
        printf("%s = %d\n", field.name, static_cast<int>(field.value));
    for (int i = 0; i < 6; ++i)
        printf("dwReserved[%d] = %d\n", i, static_cast<int>(p.dwReserved[i]));
}

} // namespace
} // namespace varn

using namespace varn;

void do_fill_scanparam(varn_scan_param *block) {
    if (block == nullptr)
        return;
    *block = {};
    block->dwADF = adf_simplex;
    block->byInDataType = 3;
    block->byOutDataType = 3;
    block->byInPixelBits = 24;
    block->byOutPixelBits = 24;
    block->dwWidthPixels = 2550;
    block->dwWidthBytes = 7650;
    block->wXresolution = 300;
    block->wYresolution = 300;
    block->ScanWindow = {0, 0, 2550, 3510};
    block->dwPaperWidth = 2550;
    block->dwPaperHeight = 3510;
    block->wXScaleRatio = 100;
    block->wYScaleRatio = 100;
    block->wImageOutputMode = 11;
    block->dwImageProcess = 1;
    block->byHalftoneThreshold = 128;
    block->byHalftoneDitherPattern = 4;
    block->byBlankPageSensitivity = 2;
    block->byColorDetectSensitivity = 2;
    block->dwReserved[1] = 79;
}

int32_t eSCL_ParseScanParam(char *xml, uint32_t xml_len, varn_scan_param *block,
                            varn_gamma_str *gamma_str, varn_multipick *multipick,
                            const char *job_uuid, uint32_t source) {
    if (xml == nullptr || block == nullptr || gamma_str == nullptr || multipick == nullptr)
        return -1;
    printf("gsoap mode:%s\n", __func__);
    do_fill_scanparam(block);
    store_word(escl_scan_pdf, 0);
    refresh_capabilities(true);

    // The request may name its schemas by another host: prefixes and names are what counts.
    Settings settings(settings_any_namespace);
    printf("soap_read_scan__ScanSettingsType error=%d\n",
           read_request(settings.document, xml, xml_len, settings.root));
    Capabilities capabilities(escl_get);
    read_capabilities(capabilities, capabilities_file);

    store_word(AUTO_THRESHOLD_flg, 0);
    store_word(scan_withRJ, 0);
    const std::optional<ImageQuality> quality = read_image_quality();
    block->byHostIsNetwork = source != 0 ? 1 : 0;
    if (settings.root.StoredJobRequest != nullptr)
        if (const int32_t result = take_stored_job(settings, capabilities, job_uuid); result != 0)
            return result;
    if (walk(settings, capabilities, *block, *multipick) != 0)
        return -1;
    apply_tone_settings(settings.root, *gamma_str, quality.has_value() ? &*quality : nullptr);
    const int32_t result = finish(*block, *multipick);
    if (quality.has_value())
        apply_image_quality(*quality, *block);
    return result;
}

int32_t eSCL_ParseScanParam_forReserveJobSet(const void *, varn_scan_param *block,
                                             varn_gamma_str *gamma_str, varn_multipick *multipick,
                                             const char *job_name) {
    // The name becomes a file name: it stays in its folder.
    if (block == nullptr || gamma_str == nullptr || multipick == nullptr || job_name == nullptr ||
        strchr(job_name, '/') != nullptr)
        return -1;
    printf("gsoap mode:%s\n", __func__);
    do_fill_scanparam(block);
    refresh_capabilities(false);

    printf("!!!! JobName_str = %s \n", job_name);
    Settings settings(escl_get);
    const std::string ticket = std::string("/tmp/xml_tickets/eSCL/") + job_name + ".xml";
    const int error = settings.read(read_text_file(ticket.c_str(), O_RDWR));
    printf("soap_read_scan__ScanSettingsType error=%d\n", error);
    if (error != 0) {
        printf("!!!!!!!!!!!!!!!!!!!!!!!!!error = %d!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!! \n", error);
        return -1;
    }
    Capabilities capabilities(escl_get);
    read_capabilities(capabilities, capabilities_file);
    store_word(AUTO_THRESHOLD_flg, 0);
    if (walk(settings, capabilities, *block, *multipick) != 0)
        return -1;
    apply_stored_tone_settings(settings.root, *gamma_str);
    const int32_t result = finish(*block, *multipick);
    log_block(*block);
    return result;
}
