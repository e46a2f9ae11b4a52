/// Look-ups in the parsed capabilities. Any part of the document may be absent.

#include "escl/settings_parts.h"

namespace varn {

const scan__InputSourceCapsType *source_caps(const scan__ScannerCapabilitiesType *caps,
                                             const varn_scan_param &block) {
    if (caps == nullptr)
        return nullptr;
    switch (block.dwADF) {
    case adf_flatbed:
        return caps->Platen != nullptr ? caps->Platen->PlatenInputCaps : nullptr;
    case adf_simplex:
        return caps->Adf != nullptr ? caps->Adf->AdfSimplexInputCaps : nullptr;
    case adf_duplex:
        return caps->Adf != nullptr ? caps->Adf->AdfDuplexInputCaps : nullptr;
    default:
        return nullptr;
    }
}

const __scan__SettingProfileType_sequence *source_profile(const scan__ScannerCapabilitiesType *caps,
                                                          const varn_scan_param &block) {
    const scan__InputSourceCapsType *source = source_caps(caps, block);
    const scan__SettingProfilesType *profiles =
        source != nullptr ? source->SettingProfiles : nullptr;
    if (profiles == nullptr || profiles->__sizeSettingProfile < 1 ||
        profiles->SettingProfile == nullptr)
        return nullptr;
    const scan__SettingProfileType &first = profiles->SettingProfile[0];
    return first.__size_SettingProfileType_sequence > 0 ? first.__SettingProfileType_sequence
                                                        : nullptr;
}

bool has_adf_option(const scan__ScannerCapabilitiesType *caps, std::string_view option) {
    if (caps == nullptr || caps->Adf == nullptr || caps->Adf->AdfOptions == nullptr)
        return false;
    const scan__AdfOptionsType &options = *caps->Adf->AdfOptions;
    for (int i = 0; i < options.__sizeAdfOption; ++i)
        if (options.AdfOption[i] != nullptr && option == options.AdfOption[i])
            return true;
    return false;
}

bool in_range(const scan__RangeAndStepOfIntType *range, int32_t value) {
    return range != nullptr && range->Min != nullptr && range->Max != nullptr &&
           value >= *range->Min && value <= *range->Max;
}

} // namespace varn
