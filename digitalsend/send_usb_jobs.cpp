/// Predefined jobs of the send-to-USB service: fixed documents, and a POST that keeps nothing.

#include "digitalsend/profile_words.h"
#include "frame/root.h"
#include "varn/send_usb.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>

namespace varn::digital_send {
namespace {

constexpr char jobs_ticket[] = "/tmp/xml_tickets/DevMgmt/SendUSB/PredefinedJobs.xml";
constexpr char cap_ticket[] = "/tmp/xml_tickets/DevMgmt/SendUSB/SendUSBServiceCap.xml";
constexpr char manifest_ticket[] = "/tmp/xml_tickets/DevMgmt/SendUSB/SendUSBServiceManifest.xml";

/// What all fixed jobs share.
bool fill_common(Document &document, susb__PredefinedJob &job) {
    auto *scan = document.make<dsd__ScanSettings>();
    auto *attachment = document.make<dsd__AttachmentSettings>();
    auto *destination = document.make<susb__Destination>();
    if (scan == nullptr || attachment == nullptr || destination == nullptr)
        return false;
    scan->dd__OriginalContentOrientation = document.value(pwg2__OrientationRequestedWKV__Portrait);
    scan->dd__ScanPlexMode = document.value(dd__Plex__Simplex);
    scan->AutoStraighten = document.value(dd__OnOff__on);

    attachment->dd__DSColorPreference = document.value(dd__DSColorPreference__color);
    attachment->dd__DSFileType_ = document.text("pdf");
    attachment->dd__DSImageResolution = document.value(dd__DSImageResolution__300dpi);
    attachment->dd__FileName_ = document.text("scan");
    attachment->dd__EncryptAttachment = enabled(document, false);
    attachment->dd__CompressAttachment = enabled(document, false);
    attachment->dd__ColorGrayscaleTiffCompression = document.value(dd__TiffCompression__TiffPost6);
    attachment->dd__MonochromeTiffCompression = document.value(dd__TiffCompression__G4);
    attachment->dd__FileNameIsEditable = boolean(document, true);
    attachment->DSFileTypeIsEditable = boolean(document, true);

    destination->Path = document.text("\\ZQSCANS");
    job.dsd__ScanSettings = scan;
    job.dsd__AttachmentSettings = attachment;
    job.Destination = destination;
    return true;
}

/// One of the list.
bool fill_listed_job(Document &document, susb__PredefinedJob &job) {
    if (!fill_common(document, job))
        return false;
    dsd__ScanSettings &scan = *job.dsd__ScanSettings;
    scan.dd__BackgroundRemoval = document.value(3);
    scan.dd__Exposure = document.value(4);
    scan.dd__OriginalPageBinding = document.value(dd__ImageEdgeBinding__shortEdge);
    scan.dd__TextGraphicsPriority = document.value(2);
    job.dsd__AttachmentSettings->dd__FileNamePrefix = document.text("%SECURITY_USERNAME%");
    job.dsd__AttachmentSettings->dd__FileNameSuffix = document.text("%DEVICE_DATE_YYYYMMDD%");
    return true;
}

/// The one with a name.
bool fill_named_job(Document &document, susb__PredefinedJob &job) {
    auto *display = document.make<dsd__DisplaySettings>();
    if (display == nullptr || !fill_common(document, job))
        return false;
    job.dsd__ScanSettings->dd__Exposure = document.value(5);
    dsd__AttachmentSettings &attachment = *job.dsd__AttachmentSettings;
    attachment.dd__DSAttachmentSize = document.value(dd__DSAttachmentSize__standard);
    attachment.dd__FileNamePrefix = document.text("");
    attachment.dd__FileNameSuffix = document.text("");

    display->dd__Name_ = document.text("Color Scan");
    display->dd__Description_ = document.text("PDF Color 300dpi");
    display->AvailableOnHomeScreen = boolean(document, false);
    display->OneTouchStart = boolean(document, false);
    display->Priority = document.value(1467039364);
    job.dsd__DisplaySettings = display;
    return true;
}

int32_t build_named_job(susb__PredefinedJob *job) {
    if (job == nullptr)
        return -1;
    Document document(gSoap);
    return fill_named_job(document, *job) ? 0 : -1;
}

void log_parts(const char *caller, const susb__PredefinedJob &job) {
    if (job.dsd__ScanSettings != nullptr && job.dsd__ScanSettings->dd__Exposure != nullptr)
        printf("%s Exposure = %d\n", caller, *job.dsd__ScanSettings->dd__Exposure);
    if (job.dsd__ImagePreview != nullptr)
        printf("%s ImagePreview = %d\n", caller, static_cast<int>(*job.dsd__ImagePreview));
    if (job.Destination != nullptr && job.Destination->Path != nullptr)
        printf("%s Path = %s\n", caller, job.Destination->Path);
    const dsd__DisplaySettings *display = job.dsd__DisplaySettings;
    if (display != nullptr && display->dd__Name_ != nullptr)
        printf("%s Name = %s\n", caller, display->dd__Name_);
    if (display != nullptr && display->dd__Description_ != nullptr)
        printf("%s Description = %s\n", caller, display->dd__Description_);
}

constexpr size_t uuid_room = 64; // of the caller's buffer

bool has_uuid_form(const char *text) {
    return strlen(text) == 36 && text[8] == '-' && text[13] == '-' && text[18] == '-' &&
           text[23] == '-' && std::count(text, text + 36, '-') == 4;
}

} // namespace
} // namespace varn::digital_send

using namespace varn::digital_send;
using varn::Document;

int32_t VARN_GetSendUSBServiceCap(char **out, uint32_t *len) {
    return varn::get_static(__func__, cap_ticket, cap_ticket, out, len);
}

int32_t VARN_GetSendUSBServiceManifest(char **out, uint32_t *len) {
    return varn::get_static(__func__, manifest_ticket, manifest_ticket, out, len);
}

int32_t get_kob_sendusbservice_predefinedjobs(susb__PredefinedJobs *jobs) {
    constexpr int count = 2;
    if (jobs == nullptr)
        return -1;
    Document document(gSoap);
    auto *list = document.make<susb__PredefinedJob>(count);
    if (list == nullptr || !fill_listed_job(document, list[0]) ||
        !fill_listed_job(document, list[1]))
        return -1;
    jobs->__sizePredefinedJob = count;
    jobs->PredefinedJob_ = list;
    return 0;
}

int32_t SendUSBService_PredefinedJob_get(susb__PredefinedJob *job) { return build_named_job(job); }
int32_t SendUSBService_PredefinedJob_getID(susb__PredefinedJob *job) {
    return build_named_job(job);
}

int32_t VARN_GetSendUSBServicePredefinedJobs(char **out, uint32_t *len) {
    return varn::get_document<susb__PredefinedJobs>(
        varn::namespaced_get, jobs_ticket, out, len, [](Document &, susb__PredefinedJobs &root) {
            get_kob_sendusbservice_predefinedjobs(&root);
        });
}

int32_t VARN_PostSendUSBServicePredefinedJobs(const char *xml, char *uuid) {
    if (xml == nullptr || uuid == nullptr)
        return -1;
    Document document(varn::profile_put);
    susb__PredefinedJob job;
    if (!varn::read_request(document, xml, job)) {
        printf("%s:%d: error,soap_read_susb__PredefinedJob happen error:%d !\n", __func__, __LINE__,
               document.error());
        return -1;
    }
    const char *created = common_create_uuid();
    if (created == nullptr)
        return -1;
    snprintf(uuid, uuid_room, "%s", created);
    printf("output UUID = %s \n", uuid);
    if (!has_uuid_form(uuid))
        return -1;
    log_parts(__func__, job);
    // The ticket is there from the first POST on, as if the job had been kept.
    const varn::UniqueFd ticket(
        open(varn::device_path(jobs_ticket).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    return 0;
}

int32_t VARN_GetSendUSBServicePredefinedJobs_id(void) { return 0; }
int32_t VARN_PutSendUSBServicePredefinedJobs_id(void) { return 0; }
int32_t VARN_DeleteSendUSBServicePredefinedJobs_id(void) { return 0; }
int32_t VARN_ClonedSendUSBServicePredefinedJobs_id(void) { return 0; }
