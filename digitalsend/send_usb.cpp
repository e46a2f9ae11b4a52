/// Send-to-USB service: whether it is on, and its default job.

#include "varn/send_usb.h"
#include "digitalsend/profile_words.h"
#include "frame/parameters.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <regex.h>

// --- Exposure -----------------------------------------------------------------------------------

namespace {

constexpr uint32_t exposures[] = {2000, 1750, 1500, 1250, 1003, 750, 500, 250, 0}; // from level 1
constexpr uint32_t normal_level = 5;
constexpr uint32_t normal_exposure = exposures[normal_level - 1];

} // namespace

uint32_t map_exposure2VARN(uint32_t mvt_value) {
    const auto *row = std::find(std::begin(exposures), std::end(exposures), mvt_value);
    uint32_t level = static_cast<uint32_t>(row - std::begin(exposures)) + 1;
    if (row == std::end(exposures)) {
        printf("%d cant find %d, map to 5\n", __LINE__, static_cast<int>(mvt_value));
        level = normal_level;
    }
    printf("%s MVT_value=%d VARN=%d\n", __func__, static_cast<int>(mvt_value),
           static_cast<int>(level));
    return level;
}

uint32_t map_exposure2MVT(uint32_t varn_value) {
    uint32_t exposure = normal_exposure;
    if (varn_value >= 1 && varn_value <= std::size(exposures))
        exposure = exposures[varn_value - 1];
    else
        printf("%d cant find %d, map to %d\n", __LINE__, static_cast<int>(varn_value),
               static_cast<int>(normal_exposure));
    printf("%s varn_value=%d MVT=%d\n", __func__, static_cast<int>(varn_value),
           static_cast<int>(exposure));
    return exposure;
}

namespace varn::digital_send {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/DevMgmt/SendUSB/SendUSBServiceDyn.xml";

/// Parameter block 3.
struct ServiceBlock {
    uint8_t reserved0[1684];
    uint8_t enabled;
    uint8_t reserved1685[35];
};
static_assert(sizeof(ServiceBlock) == 1720 && offsetof(ServiceBlock, enabled) == 1684);

// --- GET ----------------------------------------------------------------------------------------

constexpr uint8_t class_large = 3;
constexpr uint8_t class_standard = 6; // and 7
constexpr uint8_t class_small = 8;    // and up

bool is_large(uint8_t size_class) { return size_class < class_standard; }
bool is_small(uint8_t size_class) { return size_class >= class_small; }

dsd__ScanSettings *scan_settings(Document &document, const Profile &profile, const char *caller) {
    auto *settings = document.make<dsd__ScanSettings>();
    if (settings == nullptr)
        return nullptr;
    settings->dd__Exposure = document.value(static_cast<int>(map_exposure2VARN(profile.exposure)));
    settings->dd__ScanMediaSize = media_of(document, profile, caller, true);
    settings->dd__ScanPlexMode = plex_of(document, profile);
    settings->AutoStraighten =
        document.value(profile.straighten == 1 ? dd__OnOff__on : dd__OnOff__off);
    return settings;
}

dsd__AttachmentSettings *attachment_settings(Document &document, const Profile &profile,
                                             const char *caller) {
    auto *settings = document.make<dsd__AttachmentSettings>();
    if (settings == nullptr)
        return nullptr;
    settings->dd__DSAttachmentSize =
        document.value(is_large(profile.size_class)   ? dd__DSAttachmentSize__large
                       : is_small(profile.size_class) ? dd__DSAttachmentSize__small
                                                      : dd__DSAttachmentSize__standard);
    settings->dd__DSColorPreference = color_of(document, profile);
    settings->dd__DSFileType_ = file_type_of(document, profile);
    settings->dd__DSImageResolution = resolution_of(document, profile, caller);
    settings->dd__FileName_ = text_of(document, profile.file_name);
    settings->dd__ColorGrayscaleTiffCompression = document.value(dd__TiffCompression__TiffPost6);
    settings->dd__MonochromeTiffCompression = tiff_compression_of(document, profile, caller);
    return settings;
}

susb__DefaultJob *default_job(Document &document, const Profile &profile, const char *caller) {
    auto *job = document.make<susb__DefaultJob>();
    if (job == nullptr)
        return nullptr;
    job->dsd__ScanSettings = scan_settings(document, profile, caller);
    job->dsd__AttachmentSettings = attachment_settings(document, profile, caller);
    job->Destination = document.make<susb__Destination>();
    if (job->Destination != nullptr)
        job->Destination->Path = text_of(document, profile.usb_path);
    return job;
}

// --- PUT ----------------------------------------------------------------------------------------

void apply_media(Profile &profile, const char *media) {
    if (media != nullptr)
        profile.media =
            strcmp(media, "any") == 0 ? media_any : media_code(media).value_or(media_a4);
    profile.straighten = profile.media == media_any ? 1 : 0;
}

void apply_scan_settings(Profile &profile, const dsd__ScanSettings &settings) {
    if (settings.dd__Exposure != nullptr)
        profile.exposure =
            static_cast<uint16_t>(map_exposure2MVT(static_cast<uint32_t>(*settings.dd__Exposure)));
    apply_media(profile, settings.dd__ScanMediaSize);
    if (settings.dd__ScanPlexMode != nullptr)
        profile.duplex = duplex_byte(*settings.dd__ScanPlexMode);
}

void apply_file_type(Profile &profile, const char *text) {
    constexpr int keep = -1;
    struct FileType {
        const char *word;
        uint8_t type;
        uint8_t multi_page;
        int pdf_a;
    };
    constexpr FileType types[] = {{"jpeg", file_jpeg, 0, keep},
                                  {"pdf", file_pdf, 1, 0},
                                  {"pdfa", file_pdf, 1, 1},
                                  {"tiff", file_tiff, 0, keep},
                                  {"mtiff", file_tiff, 1, keep}};
    for (const FileType &type : types) {
        if (strcmp(type.word, text) != 0)
            continue;
        profile.file_type = type.type;
        profile.multi_page = type.multi_page;
        if (type.pdf_a != keep)
            profile.pdf_a = static_cast<uint8_t>(type.pdf_a);
    }
}

/// A stored class inside of the band that is asked for stays.
void apply_size_class(Profile &profile, dd__DSAttachmentSize size) {
    uint8_t &value = profile.size_class;
    printf("sDefProfile.sScanParam.byFileSize=%d\n", value);
    switch (size) {
    case dd__DSAttachmentSize__standard:
        printf("Get Standard");
        if (is_large(value) || is_small(value))
            value = class_standard;
        break;
    case dd__DSAttachmentSize__small:
        printf("Get Small");
        if (!is_small(value))
            value = class_small;
        break;
    case dd__DSAttachmentSize__large:
        printf("Get Large");
        if (!is_large(value))
            value = class_large;
        break;
    default:
        printf("Get case Default");
        value = class_standard;
    }
}

void apply_color(Profile &profile, dd__DSColorPreference preference) {
    profile.color = color_code(preference).value_or(profile.color);
    if (preference != dd__DSColorPreference__autoDetect || profile.file_type == file_jpeg)
        return;
    profile.pdf_a = 0;
    if (profile.file_type == file_pdf)
        profile.multi_page = 1;
}

void apply_attachment_settings(Profile &profile, const dsd__AttachmentSettings &settings) {
    set_text(profile.file_name, settings.dd__FileName_);
    if (settings.dd__DSFileType_ != nullptr)
        apply_file_type(profile, settings.dd__DSFileType_);
    if (settings.dd__DSImageResolution != nullptr)
        profile.resolution = resolution_number(*settings.dd__DSImageResolution).value_or(300);
    if (settings.dd__DSAttachmentSize != nullptr)
        apply_size_class(profile, *settings.dd__DSAttachmentSize);
    if (settings.dd__MonochromeTiffCompression != nullptr)
        profile.tiff_compression = tiff_code(*settings.dd__MonochromeTiffCompression).value_or(0);
    profile.word991 = 2;
    if (settings.dd__DSColorPreference != nullptr)
        apply_color(profile, *settings.dd__DSColorPreference);
    if (profile.file_type == file_jpeg && profile.color == color_monochrome) {
        puts("Glionor jpeg with BW!!");
        profile.color = color_grayscale;
    }
}

void apply_default_job(Profile &profile, const susb__DefaultJob &job) {
    if (job.Destination != nullptr)
        set_text(profile.usb_path, job.Destination->Path);
    if (job.dsd__ScanSettings != nullptr)
        apply_scan_settings(profile, *job.dsd__ScanSettings);
    if (job.dsd__AttachmentSettings != nullptr)
        apply_attachment_settings(profile, *job.dsd__AttachmentSettings);
}

/// Inside of the brackets the backslash stands for itself, so it is among the refused signs.
bool is_valid_path(const char (&path)[260]) {
    if (std::any_of(std::begin(path), std::end(path),
                    [](char c) { return (static_cast<unsigned char>(c) & 0x80) != 0; }))
        return false;
    regex_t expression;
    if (regcomp(&expression, R"(^[^\*?:"<>|.]*$)", REG_EXTENDED | REG_NOSUB) != 0)
        return true;
    char text[sizeof path + 1] = {};
    memcpy(text, path, sizeof path);
    const bool matches = regexec(&expression, text, 0, nullptr, 0) == 0;
    regfree(&expression);
    return matches;
}

int32_t apply(const susb__SendUSBServiceDyn &root) {
    // Whether the service is on: hosts may say it, the panel decides it. The block is asked for and
    // stays as it is.
    ServiceBlock block = {};
    read_block(block, MVTC_PARAM_SEND_USB);
    Profile profile = {};
    if (!read_profile(profile, MVTC_PROFILE_SEND_USB))
        return -1;
    if (root.DefaultJob != nullptr)
        apply_default_job(profile, *root.DefaultJob);
    if (!is_valid_path(profile.usb_path))
        return -1;
    return write_profile(profile, MVTC_PROFILE_SEND_USB) ? 0 : -1;
}

} // namespace
} // namespace varn::digital_send

using namespace varn::digital_send;

int32_t VARN_GetSendUSBServiceDyn(char **out, uint32_t *len) {
    ServiceBlock block = {};
    varn::read_block(block, MVTC_PARAM_SEND_USB);
    varn::Profile profile = {};
    varn::read_profile(profile, MVTC_PROFILE_SEND_USB);
    return varn::get_document<susb__SendUSBServiceDyn>(
        varn::namespaced_get, ticket, out, len,
        [&](varn::Document &document, susb__SendUSBServiceDyn &root) {
            root.SendUSBServiceEnabled = enabled(document, block.enabled == 1);
            root.DefaultJob = default_job(document, profile, "VARN_GetSendUSBServiceDyn");
        });
}

int32_t VARN_PutSendUSBServiceDyn(const char *xml) {
    return varn::put_document<susb__SendUSBServiceDyn>(varn::profile_put, xml, __func__, apply);
}
