/// Settings that say what picture comes: source, intent, resolution, format, colour.

#include "escl/settings_parts.h"

#include <cstdio>
#include <cstring>

using namespace varn;

int32_t parse_InputSource(scan__ScannerCapabilitiesType *, const char *value,
                          varn_scan_param *block) {
    if (value != nullptr && strcmp(value, "Platen") == 0)
        block->dwADF = adf_flatbed;
    else if (value != nullptr && strcmp(value, "Feeder") == 0)
        block->dwADF = adf_simplex;
    else
        printf("%s:%d:#Error: not support input source:%s \n", __FILE_NAME__, __LINE__,
               value != nullptr ? value : "");
    return 0;
}

int32_t parse_Duplex(scan__ScannerCapabilitiesType *caps, int32_t value, varn_scan_param *block) {
    if (!has_adf_option(caps, "Duplex")) {
        printf("%s:%d:Duplex Not Support !\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    // The source is not looked at: two-sided wins over the flatbed.
    if (value != 0)
        block->dwADF = adf_duplex;
    return 0;
}

int32_t parse_Intent(scan__ScannerCapabilitiesType *caps, int32_t value, varn_scan_param *block) {
    const scan__InputSourceCapsType *source = source_caps(caps, *block);
    const scan__SupportedIntentsType *intents =
        source != nullptr ? source->SupportedIntents : nullptr;
    bool supported = false;
    for (int i = 0; intents != nullptr && i < intents->__sizeIntent; ++i)
        supported = supported || static_cast<int32_t>(intents->Intent[i]) == value;
    if (!supported) {
        printf("%s:%d:IntentType error, can't support %d intent!\n", __FILE_NAME__, __LINE__,
               value);
        return -1;
    }
    const uint16_t dpi = value == scan__IntentType__Preview ? 75 : 300;
    block->wXresolution = dpi;
    block->wYresolution = dpi;
    return 0;
}

int32_t parse_Resolution(scan__ScannerCapabilitiesType *caps, const char *x, const char *y,
                         varn_scan_param *block) {
    const int32_t x_dpi = x != nullptr ? decimal(x) : block->wXresolution;
    const int32_t y_dpi = y != nullptr ? decimal(y) : block->wYresolution;
    const auto *profile = source_profile(caps, *block);
    const auto *supported = profile != nullptr ? profile->SupportedResolutions : nullptr;
    const auto *list = supported != nullptr ? supported->DiscreteResolutions : nullptr;
    for (int i = 0; list != nullptr && i < list->__sizeDiscreteResolution; ++i) {
        const scan__DiscreteResolutionType &pair = list->DiscreteResolution[i];
        if (decimal(pair.XResolution) != x_dpi || decimal(pair.YResolution) != y_dpi)
            continue;
        block->wXresolution = static_cast<uint16_t>(x_dpi);
        block->wYresolution = static_cast<uint16_t>(y_dpi);
        return 0;
    }
    printf("%s:%d:Resolution error,XResolution=%d,YResolution =%d not support !\n", __FILE_NAME__,
           __LINE__, x_dpi, y_dpi);
    return -1;
}

int32_t parse_DocumentFormat(scan__ScannerCapabilitiesType *caps, const char *value,
                             varn_scan_param *block) {
    const auto *profile = source_profile(caps, *block);
    const scan__FormatsType *formats = profile != nullptr ? profile->DocumentFormats : nullptr;
    bool supported = false;
    for (int i = 0; formats != nullptr && value != nullptr && i < formats->__sizeDocumentFormatExt;
         ++i)
        supported = supported || (formats->DocumentFormatExt[i] != nullptr &&
                                  strcmp(formats->DocumentFormatExt[i], value) == 0);
    if (!supported) {
        printf("%s:%d:DocumentFormatExt error,%s not support !\n", __FILE_NAME__, __LINE__,
               value != nullptr ? value : "");
        return -1;
    }
    set_bits(block->dwImageProcess2, process2_format, false);
    block->byCompression = 1;
    if (strcmp(value, "application/pdf") == 0) {
        puts("Detect PDF mode!!!");
        block->byCompression = 0;
        store_word(escl_scan_pdf, 1);
    } else if (strcmp(value, "image/tiff") == 0) {
        block->byCompression = 0;
    }
    return 0;
}

int32_t parse_ContentType(scan__ScannerCapabilitiesType *caps, const char *value,
                          varn_scan_param *block) {
    const auto *profile = source_profile(caps, *block);
    const scan__ContentTypesType *types = profile != nullptr ? profile->ContentTypes : nullptr;
    for (int i = 0; types != nullptr && value != nullptr && i < types->__sizeContentType; ++i)
        if (types->pwg__ContentType[i].__item != nullptr &&
            strcmp(types->pwg__ContentType[i].__item, value) == 0)
            return 0;
    printf("%s:%d:ContentType error,%s not support !\n", __FILE_NAME__, __LINE__,
           value != nullptr ? value : "");
    return -1;
}

namespace {

constexpr const char *color_modes[] = {
    "BlackAndWhite1", "Grayscale8", "RGB24", "Grayscale4", "Grayscale16",
    "RGB48",          "RGB32",      "RGB64", "CMYK32",     "scan:AutoColorDetection",
};
constexpr int unknown_color_mode = std::size(color_modes);

int color_mode_index(const char *value) {
    for (int i = 0; i < unknown_color_mode; ++i)
        if (strcmp(color_modes[i], value) == 0)
            return i;
    return unknown_color_mode;
}

void set_output(varn_scan_param &block, uint8_t data_type, uint8_t in_bits, uint8_t out_bits,
                uint16_t output_mode) {
    block.byInDataType = 3;
    block.byOutDataType = data_type;
    block.byInPixelBits = in_bits;
    block.byOutPixelBits = out_bits;
    block.wImageOutputMode = output_mode;
}

bool color_mode_listed(const scan__ScannerCapabilitiesType *caps, const char *value,
                       const varn_scan_param &block) {
    const auto *profile = source_profile(caps, block);
    const scan__ColorModesType *modes = profile != nullptr ? profile->ColorModes : nullptr;
    for (int i = 0; modes != nullptr && value != nullptr && i < modes->__sizeColorMode; ++i)
        if (modes->ColorMode[i] != nullptr && strcmp(modes->ColorMode[i], value) == 0)
            return true;
    return false;
}

} // namespace

int32_t parse_ColorMode(scan__ScannerCapabilitiesType *caps, const char *value,
                        varn_scan_param *block) {
    if (!color_mode_listed(caps, value, *block)) {
        printf("%s:%d:ColorMode error,%s not support !\n", __FILE_NAME__, __LINE__,
               value != nullptr ? value : "");
        return -1;
    }
    const int index = color_mode_index(value);
    set_image_file_typebyeSCL(index);
    switch (index) {
    case 0:
        set_output(*block, 1, 8, 1, 166);
        block->byChannelDropOut = 6;
        set_bits(block->dwImageProcess2, process2_bi_level, true);
        break;
    case 1:
        set_output(*block, 2, 24, 8, 101);
        block->byChannelDropOut = 6;
        break;
    case 2:
    case 9:
        set_output(*block, 3, 24, 24, 11);
        break;
    case unknown_color_mode:
        printf("%s:%d:#Error: not support color mode:%s \n", __FILE_NAME__, __LINE__, value);
        break;
    default: // known by name, without a translation of its own
        break;
    }
    return 0;
}

namespace {

struct DropOut {
    const char *channel;
    uint8_t code;
};
constexpr DropOut drop_outs[] = {
    {"NTSC", 6}, {"GrayCcdEmulated", 6}, {"Red", 1}, {"Green", 2}, {"Blue", 3},
};

} // namespace

int32_t parse_CcdChannel(scan__ScannerCapabilitiesType *caps, const char *value,
                         varn_scan_param *block) {
    const auto *profile = source_profile(caps, *block);
    const auto *channels = profile != nullptr ? profile->CcdChannels : nullptr;
    bool supported = false;
    for (int i = 0; channels != nullptr && value != nullptr && i < channels->__sizeCcdChannel; ++i)
        supported = supported || (channels->CcdChannel[i].__item != nullptr &&
                                  strcmp(channels->CcdChannel[i].__item, value) == 0);
    if (!supported) {
        printf("%s:%d:CcdChannels error,%s not support !\n", __FILE_NAME__, __LINE__,
               value != nullptr ? value : "");
        return -1;
    }
    for (const DropOut &row : drop_outs)
        if (strcmp(row.channel, value) == 0)
            block->byChannelDropOut = row.code;
    return 0;
}

int32_t parse_CompressionFactor(scan__ScannerCapabilitiesType *caps, const int32_t *value,
                                varn_scan_param *block) {
    constexpr uint8_t default_level = 5;
    if (value == nullptr) {
        printf("Can't find compressionfactor, use default %d\n", default_level);
        block->byCompression = default_level;
        return 0;
    }
    const auto low_byte = static_cast<uint8_t>(*value);
    if (caps == nullptr || !in_range(caps->CompressionFactorSupport, low_byte)) {
        printf("%s:%d:CompressionFactor error,%d is not in range !\n", __FILE_NAME__, __LINE__,
               low_byte);
        return -1;
    }
    block->byCompression = static_cast<uint8_t>(low_byte + 1);
    return 0;
}

int32_t parse_HalftoneThreshod(scan__ScannerCapabilitiesType *caps, int32_t value,
                               varn_scan_param *block) {
    const auto low_byte = static_cast<uint8_t>(value);
    if (caps == nullptr || !in_range(caps->ThresholdSupport, low_byte)) {
        printf("%s:%d:Threshold error,%d is not in range !\n", __FILE_NAME__, __LINE__, low_byte);
        return -1;
    }
    block->byHalftoneThreshold = low_byte;
    return 0;
}
