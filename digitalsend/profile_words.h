/// Values of the scan and attachment settings in profiles, and what stands for them in documents.
///
/// A function that fills gives null where the element is left out.
#pragma once

#include "frame/profile.h"

#include <optional>

namespace varn::digital_send {

constexpr uint8_t file_jpeg = 0;
constexpr uint8_t file_pdf = 1;
constexpr uint8_t file_tiff = 2;

constexpr uint8_t media_a4 = 0;
constexpr uint8_t media_any = 25;

constexpr uint8_t color_monochrome = 0;
constexpr uint8_t color_grayscale = 1;
constexpr uint8_t color_color = 2;
constexpr uint8_t color_automatic = 3;

/// caller    exported function, for the log
/// with_any  whether the service has media of any size
char *media_of(Document &document, const Profile &profile, const char *caller, bool with_any);
dd__Plex *plex_of(Document &document, const Profile &profile);
dd__DSColorPreference *color_of(Document &document, const Profile &profile);
char *file_type_of(Document &document, const Profile &profile);
dd__DSImageResolution *resolution_of(Document &document, const Profile &profile,
                                     const char *caller);
dd__TiffCompression *tiff_compression_of(Document &document, const Profile &profile,
                                         const char *caller);

inline xsd__boolean *boolean(Document &document, bool value) {
    return document.value(value ? xsd__boolean__true_ : xsd__boolean__false_);
}
inline dd__EnableDisable *enabled(Document &document, bool value) {
    return document.value(value ? dd__EnableDisable__enabled : dd__EnableDisable__disabled);
}

/// "a4", "letter" and "legal"; none for another text.
std::optional<uint8_t> media_code(const char *text);
/// 150, 200, 300 and 600; none for another code.
std::optional<uint16_t> resolution_number(dd__DSImageResolution code);
std::optional<uint8_t> color_code(dd__DSColorPreference preference);
/// G3 and G4; none for another code.
std::optional<uint8_t> tiff_code(dd__TiffCompression compression);
uint8_t duplex_byte(dd__Plex plex);

} // namespace varn::digital_send
