/// What a set of scan settings would produce: the tolerant form of the settings translation. A
/// value that the scanner has not got is replaced in the settings, and the walk begins again.

#include "escl/settings_io.h"
#include "escl/settings_parts.h"
#include "frame/document.h"
#include "varn/escl_resources.h"

#include <cstdio>
#include <cstring>

namespace varn {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/eSCL/ScanBufferInfo.xml";
constexpr char capabilities_ticket[] = "/tmp/xml_tickets/eSCL/ScannerCapabilities";
constexpr size_t number_size = 16;

/// One walk after another over the same settings. Each element is corrected once: where the
/// capabilities refuse the correction too, it stands as it is, so the walks come to an end.
class TolerantWalk {
public:
    TolerantWalk(Document &document, scan__ScanSettingsType &settings,
                 scan__ScannerCapabilitiesType &caps, varn_scan_param &block)
        : document_(document), s_(settings), caps_(&caps), block_(&block) {}

    int32_t run() {
        do {
            again_ = false;
            pass();
        } while (again_);
        return last_;
    }

private:
    enum Corrected { intent, resolution, region, format, content, color, channel, corrections };

    /// True when the value is refused for the first time.
    bool refused(Corrected which, int32_t result) {
        last_ = result;
        if (result == 0 || corrected_[which])
            return false;
        return corrected_[which] = again_ = true;
    }
    void switch_off(xsd__boolean *value, int32_t result) {
        last_ = result;
        if (result != 0)
            *value = xsd__boolean__false_;
    }
    template <typename Value>
    static int32_t number(const Value *value) {
        return static_cast<int32_t>(*value);
    }
    template <typename Element>
    static const char *item(const Element *element) {
        return element->__item != nullptr ? element->__item : "";
    }

    void pass() {
        source_and_window();
        picture();
        options();
    }

    void source_and_window() {
        if (s_.pwg__InputSource != nullptr)
            last_ = parse_InputSource(caps_, item(s_.pwg__InputSource), block_);
        if (s_.Duplex != nullptr)
            last_ = parse_Duplex(caps_, number(s_.Duplex), block_);
        if (s_.Intent != nullptr && refused(intent, parse_Intent(caps_, number(s_.Intent), block_)))
            *s_.Intent = scan__IntentType__Document;
        if ((s_.XResolution != nullptr || s_.YResolution != nullptr) &&
            refused(resolution, parse_Resolution(caps_, s_.XResolution, s_.YResolution, block_))) {
            s_.XResolution = document_.text("300");
            s_.YResolution = document_.text("300");
        }
        if (s_.pwg__ScanRegions != nullptr &&
            refused(region, parse_ScanRegions(caps_, &s_, block_)))
            whole_page(s_.pwg__ScanRegions->ScanRegion_[0]);
    }

    void whole_page(pwg__ContentRegionType &area) {
        area.XOffset = document_.value(0);
        area.YOffset = document_.value(0);
        area.Height = document_.value(3510);
        area.Width = document_.value(2550);
    }

    void picture() {
        if (s_.DocumentFormatExt != nullptr &&
            refused(format, parse_DocumentFormat(caps_, s_.DocumentFormatExt, block_)))
            s_.DocumentFormatExt = document_.text("image/jpeg");
        if (s_.pwg__ContentType != nullptr &&
            refused(content, parse_ContentType(caps_, item(s_.pwg__ContentType), block_)))
            s_.pwg__ContentType->__item = document_.text("Text");
        if (s_.ColorMode != nullptr && refused(color, parse_ColorMode(caps_, s_.ColorMode, block_)))
            s_.ColorMode = document_.text("RGB24");
        if (s_.BlackBackground != nullptr)
            set_bits(block_->byMiscOptions, misc_black_background, is_true(s_.BlackBackground));
        if (s_.CcdChannel != nullptr &&
            refused(channel, parse_CcdChannel(caps_, item(s_.CcdChannel), block_)))
            s_.CcdChannel->__item = document_.text("GrayCcdEmulated");
    }

    void options() {
        if (s_.MultipickDetection != nullptr)
            switch_off(s_.MultipickDetection,
                       parse_MultipickDetection(caps_, number(s_.MultipickDetection), block_));
        if (s_.NumberOfPages == nullptr)
            store_word(SinglePageMode, 0);
        else
            last_ = parse_NumberOfPages(caps_, s_.NumberOfPages, block_);
        if (s_.AutoCrop != nullptr)
            switch_off(s_.AutoCrop, parse_AutoCrop(caps_, number(s_.AutoCrop), block_));
        if (s_.AutoExposure != nullptr)
            switch_off(s_.AutoExposure, parse_AutoExposure(caps_, number(s_.AutoExposure), block_));
        if (s_.BlankPageDetectionAndRemoval != nullptr)
            switch_off(
                s_.BlankPageDetectionAndRemoval,
                parse_BlankPageRemoval(caps_, number(s_.BlankPageDetectionAndRemoval), block_));
        last_ = parse_CompressionFactor(caps_, s_.CompressionFactor, block_);
        if (last_ != 0)
            *s_.CompressionFactor = 5;
        if (s_.Threshold != nullptr) {
            last_ = parse_HalftoneThreshod(caps_, *s_.Threshold, block_);
            if (last_ != 0)
                *s_.Threshold = 128;
        }
    }

    Document &document_;
    scan__ScanSettingsType &s_;
    scan__ScannerCapabilitiesType *caps_;
    varn_scan_param *block_;
    bool corrected_[corrections] = {};
    bool again_ = false;
    int32_t last_ = 0;
};

void print_number(char *dst, uint32_t value) {
    if (dst != nullptr)
        snprintf(dst, number_size, "%d", static_cast<int>(value));
}

} // namespace
} // namespace varn

int32_t ParseBufferScanSetting(soap *context, char *xml, uint32_t xml_len,
                               scan__ScanBufferInfo *info) {
    if (context == nullptr || xml == nullptr || info == nullptr || info->ScanSettings == nullptr)
        return -1;
    printf("gsoap mode:%s\n", __func__);
    varn::Document document(context);
    printf("error=%d\n", varn::read_request(document, xml, xml_len, *info->ScanSettings));
    varn::Parsed<scan__ScannerCapabilitiesType> capabilities(varn::escl_get);
    varn::read_capabilities(capabilities, varn::capabilities_ticket);

    varn_scan_param block = {};
    const int32_t result =
        varn::TolerantWalk(document, *info->ScanSettings, capabilities.root, block).run();
    scale_window_to_resolution(&block);
    varn::print_number(info->ImageWidth, block.dwWidthPixels);
    varn::print_number(info->ImageHeight, block.dwRealLineNum);
    varn::print_number(info->BytesPerLine, block.dwWidthBytes);
    ModifyScanSetting(context, info->ScanSettings, &block);
    return result;
}

namespace {

char *decimal_text(varn::Document &document, uint32_t value) {
    char text[varn::number_size];
    varn::print_number(text, value);
    return document.text(text);
}

const char *color_mode_of(uint8_t data_type) {
    constexpr const char *modes[] = {nullptr, "BlackAndWhite1", "Grayscale8", "RGB24"};
    return data_type <= 3 ? modes[data_type] : nullptr;
}

} // namespace

void ModifyScanSetting(soap *context, scan__ScanSettingsType *settings,
                       const varn_scan_param *block) {
    if (context == nullptr || settings == nullptr || block == nullptr)
        return;
    varn::Document document(context);
    const bool feeder = block->dwADF == varn::adf_duplex || block->dwADF == varn::adf_simplex;
    if (settings->DocumentFormatExt == nullptr)
        settings->DocumentFormatExt = document.text("image/jpeg");
    if (settings->pwg__InputSource == nullptr &&
        (settings->pwg__InputSource = document.make<_pwg__InputSource>()) != nullptr)
        settings->pwg__InputSource->__item = document.text(feeder ? "Feeder" : "Platen");
    if (settings->XResolution == nullptr)
        settings->XResolution = decimal_text(document, block->wXresolution);
    if (settings->YResolution == nullptr)
        settings->YResolution = decimal_text(document, block->wYresolution);
    if (settings->ColorMode == nullptr)
        settings->ColorMode = document.text(color_mode_of(block->byOutDataType));
    if (settings->ColorSpace == nullptr &&
        (settings->ColorSpace = document.make<scan__ColorSpaceDefaultType>()) != nullptr)
        settings->ColorSpace->__item = document.text("YCC");
    if (settings->Duplex == nullptr && block->dwADF == varn::adf_duplex)
        settings->Duplex = document.value(xsd__boolean__true_);
    if (settings->MultipickDetection == nullptr && feeder &&
        (block->byMiscOptions & varn::misc_multipick) != 0)
        settings->MultipickDetection = document.value(xsd__boolean__true_);
}

int32_t eSCL_PutScanBuffInfo(char *xml, uint32_t xml_len, char **out_buf, uint32_t *out_len) {
    if (xml == nullptr)
        return -1;
    printf("gsoap mode:%s\n", __func__);
    return varn::get_document<scan__ScanBufferInfo>(
        varn::escl_get, varn::ticket, out_buf, out_len,
        [&](varn::Document &document, scan__ScanBufferInfo &root) {
            root.ScanSettings = document.make<scan__ScanSettingsType>();
            root.ImageWidth = document.make<char>(varn::number_size);
            root.ImageHeight = document.make<char>(varn::number_size);
            root.BytesPerLine = document.make<char>(varn::number_size);
            ParseBufferScanSetting(document.get(), xml, xml_len, &root);
        });
}

int32_t escl_get_scanbufferinfo(char *xml, uint32_t xml_len, char **out_buf, uint32_t *out_len) {
    return eSCL_PutScanBuffInfo(xml, xml_len, out_buf, out_len);
}
