/// What the files of the settings translation share.
#pragma once

#include "escl/scan_words.h"
#include "soapH.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace varn {

/// Bits of dwImageProcess.
constexpr uint32_t process_auto_exposure = 0x400000;
constexpr uint32_t process_blank_page = 0x100000;
constexpr uint32_t process_auto_crop = 0x880000;
constexpr uint32_t process_color_detect = 0x40040;
constexpr uint32_t process_always = 0x804a;
/// Bits of dwImageProcess2.
constexpr uint32_t process2_bi_level = 0x8;
constexpr uint32_t process2_always = 0x20;
constexpr uint32_t process2_auto_crop = 0x1c0;
constexpr uint32_t process2_carrier_sheet = 0x200000;
constexpr uint32_t process2_multipick_continue = 0x400000;
constexpr uint32_t process2_multipick_stop = 0x800000;
constexpr uint32_t process2_format = 0x4000000;
/// Bits of byMiscOptions.
constexpr uint8_t misc_black_background = 1;
constexpr uint8_t misc_multipick = 4;
constexpr uint8_t misc_overscan = 8;

constexpr uint32_t adf_flatbed = 0;
constexpr uint32_t adf_duplex = 4;
constexpr uint32_t adf_simplex = 6;

inline void set_bits(uint32_t &word, uint32_t bits, bool on) {
    word = on ? word | bits : word & ~bits;
}

inline void set_bits(uint8_t &word, uint8_t bits, bool on) {
    word = static_cast<uint8_t>(on ? word | bits : word & ~bits);
}

inline bool is_true(const xsd__boolean *value) {
    return value != nullptr && *value == xsd__boolean__true_;
}

/// A number that the schema holds as text; 0 for none.
inline int32_t decimal(const char *text) { return text != nullptr ? atoi(text) : 0; }

/// Capabilities of the source that the block names; null when the scanner has no such source.
const scan__InputSourceCapsType *source_caps(const scan__ScannerCapabilitiesType *caps,
                                             const varn_scan_param &block);
/// First sequence of the first profile of that source; null when there is none.
const __scan__SettingProfileType_sequence *source_profile(const scan__ScannerCapabilitiesType *caps,
                                                          const varn_scan_param &block);
bool has_adf_option(const scan__ScannerCapabilitiesType *caps, std::string_view option);
/// Whether a value lies in a range of the capabilities; never in a range that is not there.
bool in_range(const scan__RangeAndStepOfIntType *range, int32_t value);

/// The image-quality file: numbers for trying picture settings out on a device.
struct ImageQuality {
    int matrix[9] = {};
    int gamma = 0;
    int shadow = 0;
    int highlight = 0;
    int brightness = 0;
    int contrast = 0;
    int sharpness = 0;
    int compression = 0;
};

/// The tone settings of a request become the tone record, and its tables when one has changed.
/// quality   the image-quality file, null without one
void apply_tone_settings(const scan__ScanSettingsType &settings, varn_gamma_str &gamma,
                         const ImageQuality *quality);
/// The same for a stored job: every property is set, and the built-in tables are not used.
void apply_stored_tone_settings(const scan__ScanSettingsType &settings, varn_gamma_str &gamma);

} // namespace varn
