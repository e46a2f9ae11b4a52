#include "digitalsend/profile_words.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace varn::digital_send {
namespace {

constexpr const char *media_words[] = {"a4", "letter", "legal"}; // by code

template <typename Number, typename Code>
struct Pair {
    Number number;
    Code code;
};

constexpr Pair<uint8_t, dd__DSColorPreference> colors[] = {
    {color_color, dd__DSColorPreference__color},
    {color_grayscale, dd__DSColorPreference__grayscale},
    {color_monochrome, dd__DSColorPreference__monochrome},
    {color_automatic, dd__DSColorPreference__autoDetect},
};

constexpr Pair<uint16_t, dd__DSImageResolution> resolutions[] = {
    {150, dd__DSImageResolution__150dpi},
    {200, dd__DSImageResolution__200dpi},
    {300, dd__DSImageResolution__300dpi},
    {600, dd__DSImageResolution__600dpi},
};

constexpr Pair<uint8_t, dd__TiffCompression> compressions[] = {
    {0, dd__TiffCompression__G3},
    {1, dd__TiffCompression__G4},
};

template <typename Number, typename Code, size_t N>
Code *code_of(Document &document, const Pair<Number, Code> (&pairs)[N], Number number) {
    for (const auto &pair : pairs)
        if (pair.number == number)
            return document.value(pair.code);
    return nullptr;
}

template <typename Number, typename Code, size_t N>
std::optional<Number> number_of(const Pair<Number, Code> (&pairs)[N], Code code) {
    for (const auto &pair : pairs)
        if (pair.code == code)
            return pair.number;
    return std::nullopt;
}

} // namespace

char *media_of(Document &document, const Profile &profile, const char *caller, bool with_any) {
    if (profile.media < std::size(media_words))
        return document.text(media_words[profile.media]);
    if (with_any && profile.media == media_any)
        return document.text("any");
    printf("%s TBD here for byDocumentSize %d!! Use a4 as default\n", caller, profile.media);
    return document.text(media_words[media_a4]);
}

dd__Plex *plex_of(Document &document, const Profile &profile) {
    return document.value(profile.duplex == 1 ? dd__Plex__Duplex : dd__Plex__Simplex);
}

dd__DSColorPreference *color_of(Document &document, const Profile &profile) {
    return code_of(document, colors, profile.color);
}

char *file_type_of(Document &document, const Profile &profile) {
    switch (profile.file_type) {
    case file_jpeg:
        return document.text("jpeg");
    case file_pdf:
        return document.text(profile.pdf_a == 1 ? "pdfa" : "pdf");
    case file_tiff:
        return document.text(profile.multi_page == 1 ? "mtiff" : "tiff");
    default:
        return nullptr;
    }
}

dd__DSImageResolution *resolution_of(Document &document, const Profile &profile,
                                     const char *caller) {
    auto *code = code_of(document, resolutions, profile.resolution);
    if (code == nullptr) // and still the element is left out
        printf("%s detect unknown resoultion %d!! Use 300 as default\n", caller,
               profile.resolution);
    return code;
}

dd__TiffCompression *tiff_compression_of(Document &document, const Profile &profile,
                                         const char *caller) {
    auto *code = code_of(document, compressions, profile.tiff_compression);
    if (code != nullptr)
        return code;
    printf("%s detect unknown tiff option %d!! Use G3 as default\n", caller,
           profile.tiff_compression);
    return document.value(dd__TiffCompression__G3);
}

std::optional<uint8_t> media_code(const char *text) {
    const auto *word = std::find_if(std::begin(media_words), std::end(media_words),
                                    [&](const char *each) { return strcmp(each, text) == 0; });
    if (word == std::end(media_words))
        return std::nullopt;
    return static_cast<uint8_t>(word - std::begin(media_words));
}

std::optional<uint16_t> resolution_number(dd__DSImageResolution code) {
    return number_of(resolutions, code);
}

std::optional<uint8_t> color_code(dd__DSColorPreference preference) {
    return number_of(colors, preference);
}

std::optional<uint8_t> tiff_code(dd__TiffCompression compression) {
    return number_of(compressions, compression);
}

uint8_t duplex_byte(dd__Plex plex) { return plex == dd__Plex__Duplex ? 1 : 0; }

} // namespace varn::digital_send
