#include "digitalsend/sharepoint_profile.h"

#include "digitalsend/profile_words.h"
#include "varn/sharepoint.h"

#include <cstdio>

namespace varn::digital_send {
namespace {

constexpr int sharepoint_choice =
    SOAP_UNION__folder__union_SendFolderDestinations_SendSharePointDestination;
constexpr int windows_choice =
    SOAP_UNION__security__union_AuthenticationSettings_WindowsAuthenticationSettings;

constexpr char windows_credentials[] = "zq_windowsNegotiated_v1";
constexpr char simple_credentials[] = "zq_simple_v1";
constexpr uint32_t windows_credential_type = 1; // and 0
constexpr uint32_t simple_credential_type = 3;

/// The sub-records of a job, in one block.
struct JobParts {
    dsd__ScanSettings scan;
    dsd__AttachmentSettings attachment;
    folder__SendFolderDestinations destinations;
    folder__SendSharePointDestination destination;
    security__AuthenticationSettings authentication;
    security__WindowsAuthenticationSettings windows;
    dsd__DisplaySettings display;
};

struct SizeClass {
    uint8_t number;
    dd__DSAttachmentSize code;
};
constexpr SizeClass size_classes[] = {
    {6, dd__DSAttachmentSize__standard},
    {8, dd__DSAttachmentSize__small},
    {3, dd__DSAttachmentSize__large},
};

void fill_destination(Document &document, folder__SendSharePointDestination &destination,
                      const Profile &profile) {
    destination.SharePointPath = text_of(document, profile.sharepoint_path);
    security__AuthenticationSettings &authentication =
        *destination.security__AuthenticationSettings;
    if (profile.credential_type <= windows_credential_type)
        authentication.CredentialType = document.text(windows_credentials);
    else if (profile.credential_type == simple_credential_type)
        authentication.CredentialType = document.text(simple_credentials);
    security__WindowsAuthenticationSettings &windows =
        *authentication.union_AuthenticationSettings.WindowsAuthenticationSettings;
    windows.dd__UserName_ = text_of(document, profile.user_name);
    windows.dd__Password_ = text_of(document, profile.password);
    windows.dd3__DomainName_ = text_of(document, profile.domain);
}

/// The destination of a prepared job, with its authentication; null when one of them is missing.
folder__SendSharePointDestination *prepared_destination(const folder__PredefinedJob &job) {
    if (job.SendFolderDestinations == nullptr ||
        job.SendFolderDestinations->__union_SendFolderDestinations != sharepoint_choice)
        return nullptr;
    auto *destination =
        job.SendFolderDestinations->union_SendFolderDestinations.SendSharePointDestination;
    const security__AuthenticationSettings *authentication =
        destination != nullptr ? destination->security__AuthenticationSettings : nullptr;
    const bool whole =
        authentication != nullptr &&
        authentication->__union_AuthenticationSettings == windows_choice &&
        authentication->union_AuthenticationSettings.WindowsAuthenticationSettings != nullptr;
    return whole ? destination : nullptr;
}

void apply_authentication(Profile &profile, const security__AuthenticationSettings &settings) {
    if (settings.CredentialType != nullptr) {
        if (strcmp(settings.CredentialType, windows_credentials) == 0)
            profile.credential_type = windows_credential_type;
        else if (strcmp(settings.CredentialType, simple_credentials) == 0)
            profile.credential_type = simple_credential_type;
    }
    if (settings.__union_AuthenticationSettings != windows_choice)
        return;
    const security__WindowsAuthenticationSettings *windows =
        settings.union_AuthenticationSettings.WindowsAuthenticationSettings;
    if (windows == nullptr)
        return;
    set_text(profile.user_name, windows->dd__UserName_);
    set_text(profile.password, windows->dd__Password_);
    set_text(profile.domain, windows->dd3__DomainName_);
}

void apply_destinations(Profile &profile, const folder__SendFolderDestinations &destinations) {
    if (destinations.__union_SendFolderDestinations != sharepoint_choice)
        return;
    const folder__SendSharePointDestination *destination =
        destinations.union_SendFolderDestinations.SendSharePointDestination;
    if (destination == nullptr)
        return;
    set_text(profile.sharepoint_path, destination->SharePointPath);
    if (destination->security__AuthenticationSettings != nullptr)
        apply_authentication(profile, *destination->security__AuthenticationSettings);
}

void apply_media(Profile &profile, const char *media, Unknown unknown, const char *caller) {
    const std::optional<uint8_t> code = media_code(media);
    if (!code && unknown == Unknown::by_default)
        printf("%s TBD here for dd__ScanMediaSize %s!! Use a4 as default\n", caller, media);
    profile.media = code.value_or(media_a4);
}

void apply_file_type(Profile &profile, const char *word, Unknown unknown) {
    if (strcmp(word, "jpeg") == 0) {
        profile.file_type = file_jpeg;
    } else if (strcmp(word, "tiff") == 0 || strcmp(word, "mtiff") == 0) {
        profile.file_type = file_tiff;
        profile.multi_page = *word == 'm' ? 1 : 0;
    } else if (strcmp(word, "pdf") == 0 || strcmp(word, "pdfa") == 0) {
        // A job never gets PDF, the defaults do; this is meant.
        profile.file_type = unknown == Unknown::by_default ? file_pdf : file_jpeg;
        if (unknown == Unknown::by_default)
            profile.pdf_a = strcmp(word, "pdfa") == 0 ? 1 : 0;
    }
}

void apply_resolution(Profile &profile, dd__DSImageResolution code, Unknown unknown,
                      const char *caller) {
    constexpr uint16_t default_resolution = 300;
    if (const std::optional<uint16_t> number = resolution_number(code)) {
        profile.resolution = *number;
    } else if (unknown == Unknown::by_default) {
        printf("%s detect unknown dd__DSImageResolution %d!! Use 300 as default\n", caller,
               static_cast<int>(code));
        profile.resolution = default_resolution;
    }
}

void apply_tiff_compression(Profile &profile, dd__TiffCompression compression, Unknown unknown,
                            const char *caller) {
    if (const std::optional<uint8_t> code = tiff_code(compression)) {
        profile.tiff_compression = *code;
    } else if (unknown == Unknown::by_default) {
        printf("%s detect unknown dd__MonochromeTiffCompression option %d!! Use G3 as default\n",
               caller, static_cast<int>(compression));
        profile.tiff_compression = 0;
    }
}

} // namespace

void fill_scan_settings(Document &document, dsd__ScanSettings &settings, const Profile &profile,
                        const char *caller) {
    settings.dd__Contrast = document.value(static_cast<int>(profile.contrast));
    settings.dd__Exposure = document.value(static_cast<int>(profile.exposure));
    settings.dd__OriginalContentOrientation =
        document.value(pwg2__OrientationRequestedWKV__Portrait);
    settings.dd__ScanMediaSize = media_of(document, profile, caller, false);
    settings.dd__ScanPlexMode = plex_of(document, profile);
}

void fill_attachment_settings(Document &document, dsd__AttachmentSettings &settings,
                              const Profile &profile, const char *caller) {
    for (const SizeClass &each : size_classes)
        if (each.number == profile.size_class)
            settings.dd__DSAttachmentSize = document.value(each.code);
    settings.dd__DSColorPreference = color_of(document, profile);
    settings.dd__DSFileType_ = file_type_of(document, profile);
    settings.dd__DSImageResolution = resolution_of(document, profile, caller);
    settings.dd__MonochromeTiffCompression = tiff_compression_of(document, profile, caller);
    settings.dd__FileNameIsEditable = boolean(document, false);
    settings.dd__FileNamePrefix = text_of(document, profile.file_prefix);
    settings.DSFileTypeIsEditable = boolean(document, true);
}

void apply_scan_settings(Profile &profile, const dsd__ScanSettings &settings, Unknown unknown,
                         const char *caller) {
    if (settings.dd__Contrast != nullptr)
        profile.contrast = static_cast<uint16_t>(*settings.dd__Contrast);
    if (settings.dd__Exposure != nullptr)
        profile.exposure = static_cast<uint16_t>(*settings.dd__Exposure);
    if (settings.dd__ScanMediaSize != nullptr)
        apply_media(profile, settings.dd__ScanMediaSize, unknown, caller);
    if (settings.dd__ScanPlexMode != nullptr)
        profile.duplex = duplex_byte(*settings.dd__ScanPlexMode);
}

void apply_attachment_settings(Profile &profile, const dsd__AttachmentSettings &settings,
                               Unknown unknown, const char *caller) {
    for (const SizeClass &each : size_classes)
        if (settings.dd__DSAttachmentSize != nullptr && each.code == *settings.dd__DSAttachmentSize)
            profile.size_class = each.number;
    if (settings.dd__DSColorPreference != nullptr)
        profile.color = color_code(*settings.dd__DSColorPreference).value_or(profile.color);
    if (settings.dd__DSFileType_ != nullptr)
        apply_file_type(profile, settings.dd__DSFileType_, unknown);
    if (settings.dd__DSImageResolution != nullptr)
        apply_resolution(profile, *settings.dd__DSImageResolution, unknown, caller);
    if (settings.dd__MonochromeTiffCompression != nullptr)
        apply_tiff_compression(profile, *settings.dd__MonochromeTiffCompression, unknown, caller);
    set_text(profile.file_prefix, settings.dd__FileNamePrefix);
}

} // namespace varn::digital_send

using namespace varn::digital_send;
using varn::Document;
using varn::Profile;

int32_t set_default_PredefinedJob(folder__PredefinedJob *job) {
    if (job == nullptr)
        return -1;
    Document document(gSoap);
    auto *parts = document.make<JobParts>();
    if (parts == nullptr)
        return -1;
    parts->authentication.__union_AuthenticationSettings = windows_choice;
    parts->authentication.union_AuthenticationSettings.WindowsAuthenticationSettings =
        &parts->windows;
    parts->destination.security__AuthenticationSettings = &parts->authentication;
    parts->destinations.__union_SendFolderDestinations = sharepoint_choice;
    parts->destinations.union_SendFolderDestinations.SendSharePointDestination =
        &parts->destination;
    job->dsd__ScanSettings = &parts->scan;
    job->dsd__AttachmentSettings = &parts->attachment;
    job->SendFolderDestinations = &parts->destinations;
    job->dsd__DisplaySettings = &parts->display;
    return 0;
}

int32_t get_CurrentPredefinedJob(folder__PredefinedJob *job, const void *record) {
    if (job == nullptr || record == nullptr)
        return -1;
    folder__SendSharePointDestination *destination = prepared_destination(*job);
    if (destination == nullptr || job->dsd__ScanSettings == nullptr ||
        job->dsd__AttachmentSettings == nullptr || job->dsd__DisplaySettings == nullptr)
        return -1;
    Profile profile;
    memcpy(&profile, record, sizeof profile);
    Document document(gSoap);
    fill_scan_settings(document, *job->dsd__ScanSettings, profile, __func__);
    fill_attachment_settings(document, *job->dsd__AttachmentSettings, profile, __func__);
    job->IgnoreServerCertificates = boolean(document, true);
    fill_destination(document, *destination, profile);
    job->dsd__DisplaySettings->dd__Name_ = varn::text_of(document, profile.display_name);
    job->dd__ResourceURI = varn::text_of(document, profile.uri);
    return 0;
}

int32_t set_CurrentScanProfile(const folder__PredefinedJob *job, void *record) {
    if (job == nullptr || record == nullptr)
        return -1;
    Profile profile;
    memcpy(&profile, record, sizeof profile);
    if (job->dsd__ScanSettings != nullptr)
        apply_scan_settings(profile, *job->dsd__ScanSettings, Unknown::as_before, __func__);
    if (job->dsd__AttachmentSettings != nullptr)
        apply_attachment_settings(profile, *job->dsd__AttachmentSettings, Unknown::as_before,
                                  __func__);
    if (job->SendFolderDestinations != nullptr)
        apply_destinations(profile, *job->SendFolderDestinations);
    if (job->dsd__DisplaySettings != nullptr)
        varn::set_text(profile.display_name, job->dsd__DisplaySettings->dd__Name_);
    memcpy(record, &profile, sizeof profile);
    return 0;
}
