/// The engine's profile store: records that hold what the mail, SharePoint and send-to-USB services
/// keep. Whatever a resource does not name goes back as it was read.
#pragma once

#include "frame/document.h"
#include "platform/mvtc.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace varn {

/// One profile. Each service uses the fields of its own; the scan settings mean the same to all.
/// Texts are UTF-8 and terminated; the room of one ends where the next field begins.
struct Profile {
    uint8_t reserved0[4];
    uint32_t type;          ///< of a job slot: 0 free, 7 SharePoint job
    char display_name[168]; ///< of a job
    char file_prefix[520];
    char file_name[260];
    uint8_t color;      ///< 0 monochrome, 1 grey, 2 colour, 3 automatic
    uint8_t file_type;  ///< 0 JPEG, 1 PDF, 2 TIFF
    uint8_t size_class; ///< of the file: the larger the number, the smaller the file
    uint8_t reserved959;
    uint16_t resolution; ///< dots per inch
    uint8_t media;       ///< 0 A4, 1 letter, 2 legal, 25 any
    uint8_t reserved963[13];
    uint8_t straighten;
    uint8_t reserved977;
    uint8_t duplex;
    uint8_t reserved979[2];
    uint8_t multi_page;
    uint8_t pdf_a;
    uint8_t tiff_compression; ///< 0 G3, 1 G4
    uint8_t reserved984[2];
    uint16_t exposure; ///< of send-to-USB in engine units, see map_exposure2VARN
    uint16_t contrast;
    uint8_t reserved990;
    uint8_t word991; ///< the engine's; 2 after attachment settings of send-to-USB
    uint8_t reserved992[2096];
    char domain[512];
    char sharepoint_path[512];
    char user_name[128];
    char password[128];
    char uri[256];            ///< of a job's resource
    uint32_t credential_type; ///< 0 or 1 Windows, 3 simple
    uint8_t reserved4628[36];
    char usb_path[260];
    uint8_t reserved4924[128];
    char from_address[128];
    char smtp_server[136];
    uint16_t smtp_port;
    uint8_t reserved5318[134];
    char email_body[256];
    char email_subject[256];
    uint8_t reserved5964[20];
};
static_assert(sizeof(Profile) == 5984 && offsetof(Profile, type) == 4 &&
              offsetof(Profile, display_name) == 8 && offsetof(Profile, file_prefix) == 176 &&
              offsetof(Profile, file_name) == 696 && offsetof(Profile, color) == 956 &&
              offsetof(Profile, resolution) == 960 && offsetof(Profile, media) == 962 &&
              offsetof(Profile, straighten) == 976 && offsetof(Profile, duplex) == 978 &&
              offsetof(Profile, multi_page) == 981 && offsetof(Profile, tiff_compression) == 983 &&
              offsetof(Profile, exposure) == 986 && offsetof(Profile, contrast) == 988 &&
              offsetof(Profile, word991) == 991 && offsetof(Profile, domain) == 3088 &&
              offsetof(Profile, sharepoint_path) == 3600 && offsetof(Profile, user_name) == 4112 &&
              offsetof(Profile, password) == 4240 && offsetof(Profile, uri) == 4368 &&
              offsetof(Profile, credential_type) == 4624 && offsetof(Profile, usb_path) == 4664 &&
              offsetof(Profile, from_address) == 5052 && offsetof(Profile, smtp_server) == 5180 &&
              offsetof(Profile, smtp_port) == 5316 && offsetof(Profile, email_body) == 5452 &&
              offsetof(Profile, email_subject) == 5708);

/// PUTs into profiles: the validating variant, with texts in UTF-8, as the records and the GETs
/// have them.
constexpr Variant profile_put{validating_put.mode | SOAP_C_UTFSTRING, true, 0};

inline bool read_profile(Profile &profile, uint32_t id) {
    return mvtc_read_H1_profile(static_cast<uint32_t>(varn_mvt_fd), &profile, sizeof profile, id) >=
           0;
}

inline bool write_profile(const Profile &profile, uint32_t id) {
    return mvtc_write_H1_profile(static_cast<uint32_t>(varn_mvt_fd), &profile, sizeof profile,
                                 id) >= 0;
}

/// Longest part of a text that fits into `size` bytes and cuts no UTF-8 character.
std::string_view whole_characters(std::string_view text, size_t size);
/// The text in the document's memory, with a question mark for each byte that a document cannot
/// hold; null without memory.
char *document_text(Document &document, std::string_view text);

/// Replaces a text of a record, cut to its field. Null leaves the field as it is.
template <size_t N>
void set_text(char (&field)[N], const char *text) {
    if (text == nullptr)
        return;
    const std::string_view part = whole_characters(text, N - 1);
    memmove(field, part.data(), part.size());
    memset(field + part.size(), 0, N - part.size());
}

/// A text of a record as an element's.
template <size_t N>
char *text_of(Document &document, const char (&field)[N]) {
    return document_text(document, {field, strnlen(field, N)});
}

} // namespace varn
