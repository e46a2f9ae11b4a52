/// The SharePoint service itself: defaults, static documents, result of the connection test.

#include "digitalsend/profile_words.h"
#include "digitalsend/sharepoint_profile.h"
#include "frame/parameters.h"
#include "varn/sharepoint.h"

#include <cstdio>

namespace varn::digital_send {
namespace {

constexpr char cap_ticket[] = "/tmp/xml_tickets/DevMgmt/SharePoint/SharePointServiceCap.xml";
constexpr char manifest_ticket[] =
    "/tmp/xml_tickets/DevMgmt/SharePoint/SharePointServiceManifest.xml";
constexpr char result_ticket[] = "/tmp/xml_tickets/DevMgmt/SharePoint/PredefinedJobTestResult.xml";
constexpr char service_ticket[] = "/tmp/xml_tickets/DevMgmt/SharePoint/SendUSBService.xml";

struct TestStatus {
    int32_t word;
    dsdyn__DigitalSendStatusCodes code;
};
constexpr TestStatus test_statuses[] = {
    {0, dsdyn__DigitalSendStatusCodes__Success},
    {-1, dsdyn__DigitalSendStatusCodes__ErrorSettingNotTested},
    {304, dsdyn__DigitalSendStatusCodes__ErrorServerNotFound},
    {305, dsdyn__DigitalSendStatusCodes__ErrorInvalidFileOrDirectory},
    {306, dsdyn__DigitalSendStatusCodes__ErrorWrongCredentials},
};

dsdyn__DigitalSendStatusCodes test_status(int32_t word) {
    for (const TestStatus &status : test_statuses)
        if (status.word == word)
            return status.code;
    printf("%s can't case %d!!!\n", "SharePointService_PredefinedJob_TestResult", word);
    return dsdyn__DigitalSendStatusCodes__ErrorTestInProgress;
}

folder__DefaultJob *default_job(Document &document, const Profile &profile, const char *caller) {
    auto *job = document.make<folder__DefaultJob>();
    auto *scan = document.make<dsd__ScanSettings>();
    auto *attachment = document.make<dsd__AttachmentSettings>();
    if (job == nullptr || scan == nullptr || attachment == nullptr)
        return nullptr;
    fill_scan_settings(document, *scan, profile, caller);
    fill_attachment_settings(document, *attachment, profile, caller);
    job->dsd__ScanSettings = scan;
    job->dsd__AttachmentSettings = attachment;
    job->IgnoreServerCertificates = boolean(document, true);
    return job;
}

void apply_default_job(Profile &profile, const folder__DefaultJob &job, const char *caller) {
    if (job.dsd__ScanSettings != nullptr)
        apply_scan_settings(profile, *job.dsd__ScanSettings, Unknown::by_default, caller);
    if (job.dsd__AttachmentSettings != nullptr)
        apply_attachment_settings(profile, *job.dsd__AttachmentSettings, Unknown::by_default,
                                  caller);
}

} // namespace
} // namespace varn::digital_send

using namespace varn::digital_send;
using varn::Document;
using varn::Profile;

int32_t VARN_GetSharePointCap(char **out, uint32_t *len) {
    return varn::get_static(__func__, cap_ticket, cap_ticket, out, len);
}

int32_t VARN_GetSharePointManifest(char **out, uint32_t *len) {
    return varn::get_static(__func__, manifest_ticket, manifest_ticket, out, len);
}

int32_t SharePointService_PredefinedJob_TestResult(char **out, uint32_t *len) {
    int32_t word = -1;
    if (mvtc_read_H1_profile(static_cast<uint32_t>(varn_mvt_fd), &word, sizeof word,
                             MVTC_PROFILE_TEST_RESULT) < 0)
        word = -1;
    return varn::get_document<spts__TestResult>(varn::namespaced_get, result_ticket, out, len,
                                                [&](Document &document, spts__TestResult &root) {
                                                    root.dsdyn__TestStatusCode =
                                                        document.value(test_status(word));
                                                });
}

int32_t VARN_GetSharePointDyn(char **out, uint32_t *len) {
    varn::WebParameters parameters = {};
    varn::read_block(parameters, MVTC_PARAM_WEB);
    Profile profile = {};
    varn::read_profile(profile, MVTC_PROFILE_SHAREPOINT);
    const bool on = parameters.sharepoint_enabled == 1;
    return varn::get_document<spts__SharePointService>(
        varn::namespaced_get, service_ticket, out, len,
        [&](Document &document, spts__SharePointService &root) {
            root.SharePointServiceEnabled = enabled(document, on);
            printf("QQ SharePointService.SharePointServiceEnabled==%d\n",
                   static_cast<int>(on ? dd__EnableDisable__enabled : dd__EnableDisable__disabled));
            printf("QQ sNetsetting.byEnableSharePoint ==%d\n", parameters.sharepoint_enabled);
            root.DefaultJob = default_job(document, profile, "VARN_GetSharePointDyn");
        });
}

int32_t VARN_PutSharePointDyn(const char *xml) {
    if (xml == nullptr)
        return -1;
    Document document(varn::profile_put);
    spts__SharePointService root;
    if (!varn::read_request(document, xml, root)) {
        printf("%s:%d:happen error:%d !\n", __func__, __LINE__, document.error());
        root = {};
    }
    varn::WebParameters parameters = {};
    Profile profile = {};
    const bool has_parameters = varn::read_block(parameters, MVTC_PARAM_WEB);
    const bool has_profile = varn::read_profile(profile, MVTC_PROFILE_SHAREPOINT);
    if (root.SharePointServiceEnabled != nullptr)
        parameters.sharepoint_enabled =
            *root.SharePointServiceEnabled == dd__EnableDisable__enabled ? 1 : 0;
    if (root.DefaultJob != nullptr)
        apply_default_job(profile, *root.DefaultJob, __func__);
    // What could not be read would go back without what else is in it.
    if (has_parameters)
        varn::write_block(parameters, MVTC_PARAM_WEB);
    // The record goes back as a parameter, which the engine tells from the block by its size.
    if (has_profile)
        varn::write_block(profile, MVTC_PROFILE_SHAREPOINT);
    return 0;
}
