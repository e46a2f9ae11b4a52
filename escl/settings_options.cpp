/// Settings that switch a function of the device: multipick, crop, exposure, detection. The gates
/// look at the capability alone: switching off what the scanner has not got is refused as well.

#include "escl/settings_parts.h"

#include <cstdio>

using namespace varn;

int32_t parse_MultipickDetection(scan__ScannerCapabilitiesType *caps, int32_t value,
                                 varn_scan_param *block) {
    if (!has_adf_option(caps, "MultipickDetection")) {
        printf("%s:%d:MultipickDetection Not Support !\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    set_bits(block->byMiscOptions, misc_multipick, value != 0);
    return 0;
}

int32_t parse_MultipickDetectionAction(scan__ScannerCapabilitiesType *, int32_t value,
                                       varn_scan_param *block) {
    switch (value) {
    case scan__MultipickDetectionActionType__StopJob:
        puts("scan__MultipickDetectionActionType__StopJob");
        break;
    case scan__MultipickDetectionActionType__ContinueJob:
        puts("scan__MultipickDetectionActionType__ContinueJob");
        break;
    default:
        printf("TBD for unknown action ==%d\n", value);
        return -1;
    }
    const bool stop = value == scan__MultipickDetectionActionType__StopJob;
    set_bits(block->dwImageProcess2, process2_multipick_stop, stop);
    set_bits(block->dwImageProcess2, process2_multipick_continue, !stop);
    return 0;
}

int32_t parse_MultipickExclusionLength(scan__ScannerCapabilitiesType *, const char *value,
                                       varn_multipick *multipick) {
    store_word(Multipick_dwIgnoreAreaExtent, decimal(value) / 4);
    multipick->words[0] = 2;
    multipick->words[1] = 0;
    return 0;
}

int32_t parse_NumberOfPages(scan__ScannerCapabilitiesType *caps, const char *value,
                            varn_scan_param *) {
    const char *capacity =
        caps != nullptr && caps->Adf != nullptr ? caps->Adf->FeederCapacity : nullptr;
    if (capacity != nullptr && decimal(capacity) < decimal(value)) {
        printf("%s:%d:NumberOfPages %s > FeederCapacity %s  !\n", __FILE_NAME__, __LINE__,
               value != nullptr ? value : "", capacity);
        return -1;
    }
    store_word(SinglePageMode, decimal(value));
    return 0;
}

int32_t parse_AutoCrop(scan__ScannerCapabilitiesType *caps, int32_t value, varn_scan_param *block) {
    if (caps == nullptr || !is_true(caps->AutoCrop)) {
        printf("%s:%d:AutoCrop Not Support !\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    if (value != 0)
        puts("~~~~~~AutoCrop~~~~~~~~~ ");
    set_bits(block->dwImageProcess, process_auto_crop, value != 0);
    set_bits(block->dwImageProcess2, process2_auto_crop, value != 0);
    return 0;
}

int32_t parse_CarrierSheet(scan__ScannerCapabilitiesType *caps, int32_t value,
                           varn_scan_param *block) {
    if (caps == nullptr || !is_true(caps->CarrierSheetSupport)) {
        printf("%s:%d:CarrierSheet Not Support !\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    if (value != 0)
        puts("~~~~~~CarrierSheet~~~~~~~~~ ");
    set_bits(block->dwImageProcess2, process2_carrier_sheet, value != 0);
    return 0;
}

int32_t parse_AutoExposure(scan__ScannerCapabilitiesType *caps, int32_t value,
                           varn_scan_param *block) {
    if (caps == nullptr || !is_true(caps->AutoExposure)) {
        printf("%s:%d:AutoExposure Not Support !\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    set_bits(block->dwImageProcess, process_auto_exposure, value != 0);
    store_word(AUTO_THRESHOLD_flg, value != 0 ? 1 : 0);
    return 0;
}

namespace {

int32_t set_blank_page(const xsd__boolean *capability, int32_t value, varn_scan_param *block) {
    if (!is_true(capability)) {
        printf("%s:%d:BlankPageDetectionAndRemoval Not Support !\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    set_bits(block->dwImageProcess, process_blank_page, value != 0);
    return 0;
}

/// Band 0 to 4 of a value in fifths of the range's top. A value above five whole fifths fits no
/// band and leaves the field alone.
void set_sensitivity(const scan__RangeAndStepOfIntType &range, int32_t value, const char *name,
                     const char *field_name, uint8_t &field) {
    const int32_t fifth = *range.Max / 5;
    printf("%s:%d:%sSensitivityValue = %d !!!!!!!\n", __FILE_NAME__, __LINE__, name, value);
    printf("%s:%d:%sSensitivityLevel = %d !!!!!!!\n", __FILE_NAME__, __LINE__, name, fifth);
    for (int band = 0; band < 5; ++band) {
        const int32_t above = band == 0 ? -1 : band * fifth;
        if (value > above && value <= (band + 1) * fifth) {
            field = static_cast<uint8_t>(band);
            break;
        }
    }
    printf("%s:%d:param->%s = %d !!!!!!!\n", __FILE_NAME__, __LINE__, field_name, field);
}

} // namespace

int32_t parse_BlankPageDetection(scan__ScannerCapabilitiesType *caps, int32_t value,
                                 varn_scan_param *block) {
    return set_blank_page(caps != nullptr ? caps->BlankPageDetection : nullptr, value, block);
}

int32_t parse_BlankPageRemoval(scan__ScannerCapabilitiesType *caps, int32_t value,
                               varn_scan_param *block) {
    return set_blank_page(caps != nullptr ? caps->BlankPageDetectionAndRemoval : nullptr, value,
                          block);
}

int32_t parse_BlankPageSensitivity(scan__ScannerCapabilitiesType *caps, int32_t value,
                                   varn_scan_param *block) {
    if (caps == nullptr || !in_range(caps->BlankPageSensitivitySupport, value)) {
        printf("%s:%d:BlankPageSensitivityValue error,%d is not in range !\n", __FILE_NAME__,
               __LINE__, value);
        return -1;
    }
    set_sensitivity(*caps->BlankPageSensitivitySupport, value, "BlankPage",
                    "byBlankPageSensitivity", block->byBlankPageSensitivity);
    return 0;
}

int32_t parse_AutoColorSensitivity(scan__ScannerCapabilitiesType *caps, int32_t value,
                                   varn_scan_param *block) {
    if (caps == nullptr || !in_range(caps->ColorSensitivitySupport, value)) {
        printf("%s:%d:ColorSensitivityValue error,%d is not in range !\n", __FILE_NAME__, __LINE__,
               value);
        return -1;
    }
    set_sensitivity(*caps->ColorSensitivitySupport, value, "Color", "byColorDetectSensitivity",
                    block->byColorDetectSensitivity);
    return 0;
}

int32_t parse_AutoColorDetectionMode(scan__ScannerCapabilitiesType *, int32_t value,
                                     varn_scan_param *block) {
    constexpr uint8_t detect_only = 0;
    constexpr uint8_t non_color_as_grey = 16;
    if (value == scan__AutoColorDetectionMode__TreatNonColorAsBlackAndWhite1) {
        puts(
            "!!!!!!!Not support scan__AutoColorDetectionMode__TreatNonColorAsBlackAndWhite1!!!!! ");
        return -1;
    }
    if (value != scan__AutoColorDetectionMode__DetectOnly &&
        value != scan__AutoColorDetectionMode__TreatNonColorAsGrayscale8)
        return 0; // a number outside the enumeration, which the reader lets pass
    set_bits(block->dwImageProcess, process_color_detect, true);
    block->byColorDetectMode =
        value == scan__AutoColorDetectionMode__DetectOnly ? detect_only : non_color_as_grey;
    return 0;
}
