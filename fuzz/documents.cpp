#include "fuzz/targets.h"

#include "varn/varn.h"

#include <cstdlib>

namespace varn::fuzz {
namespace {

constexpr uint32_t link = static_cast<uint32_t>(-1);
constexpr char job[40] = "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";

struct Row {
    const char *name;
    void (*take)(std::string &xml);
};

void scan_settings(std::string &xml) {
    varn_scan_param block;
    varn_gamma_str gamma = {};
    varn_multipick multipick = {};
    do_fill_scanparam(&block);
    for (const uint32_t source : {0U, 1U})
        eSCL_ParseScanParam(xml.data(), static_cast<uint32_t>(xml.size()), &block, &gamma,
                            &multipick, job, source);
}

void scan_buffer(std::string &xml) {
    char *out = nullptr;
    uint32_t length = 0;
    if (escl_get_scanbufferinfo(xml.data(), static_cast<uint32_t>(xml.size()), &out, &length) == 0)
        free(out);
}

void walkup_subscription(std::string &xml) {
    char *uuid = nullptr;
    eSCL_CreateWalkupSubscription(xml.c_str(), &uuid);
}

void walkup_destination(std::string &xml) {
    char *uuid = nullptr;
    for (int i = 0; i < 2; ++i)
        VARN_CreateWalkupScanDestination(xml.c_str(), &uuid, 1);
    char *out = nullptr;
    uint32_t length = 0;
    if (VARN_GetWalkupScanDestination(nullptr, &out, &length) == 0)
        free(out);
    VARN_SetWalkupScanDest(0, 0, 8, 1, uuid);
}

void job_document(std::string &xml) {
    VARN_Set_Job(0, 0, 0);
    VARN_Put_SpecificJobXML(xml.c_str());
    VARN_Update_Job(0, 5, 0);
}

/// The engine's slots are zeros, and any of them has the identifier "".
void sharepoint_job(std::string &xml) {
    char copy[64] = "";
    VARN_CheckSharePointDocument("PredefinedJob", xml.c_str());
    VARN_PostSharePointDynPredefinedjobs(xml.c_str());
    VARN_PutSharePointPredefinedJobs_id("", xml.c_str());
    VARN_CloneSharePointPredefinedJobs_id(xml.c_str(), job, copy);
}

void sharepoint_service(std::string &xml) {
    VARN_CheckSharePointDocument("SharePointService", xml.c_str());
    VARN_PutSharePointDyn(xml.c_str());
}

void usb_job(std::string &xml) {
    char uuid[64] = "";
    VARN_PostSendUSBServicePredefinedJobs(xml.c_str(), uuid);
}

constexpr Row rows[] = {
    /* a */ {"scan settings", scan_settings},
    /* b */ {"scan buffer", scan_buffer},
    /* c */ {"eSCLConfig", [](std::string &xml) { eSCL_PuteSCLConfig(xml.c_str()); }},
    /* d */
    {"configuration", [](std::string &xml) { VARN_PutProductConfigDyn(link, xml.data()); }},
    /* e */ {"NVRAM", [](std::string &xml) { KOB_PostNVRamXML(link, xml.c_str()); }},
    /* f */ {"walk-up subscription", walkup_subscription},
    /* g */ {"walk-up destination", walkup_destination},
    /* h */ {"job", job_document},
    /* i */
    {"station profile",
     [](std::string &xml) { VARN_PutIoMgmtAdaptersProfiles("wifi0", "1", xml.c_str()); }},
    /* j */
    {"access point profile",
     [](std::string &xml) { VARN_PutIoMgmtAdaptersProfiles("wifi1", "1", xml.c_str()); }},
    /* k */
    {"Ethernet profile",
     [](std::string &xml) { VARN_PutIoMgmtAdaptersProfiles("eth0", "1", xml.c_str()); }},
    /* l */ {"adapter", [](std::string &xml) { VARN_PutIoMgmtAdaptersItem("usb", xml.c_str()); }},
    /* m */
    {"WPS session",
     [](std::string &xml) { VARN_PostIoMgmtAdaptersPinSession("wifi0", xml.c_str()); }},
    /* n */ {"host name", [](std::string &xml) { VARN_PutIoConfig(nullptr, xml.c_str()); }},
    /* o */ {"SNMP", [](std::string &xml) { VARN_PutIOConfigDyn(xml.c_str()); }},
    /* p */ {"applications", [](std::string &xml) { VARN_PutNetAppsDyn(xml.c_str()); }},
    /* q */
    {"secure applications", [](std::string &xml) { VARN_PutNetAppsSecureDyn(xml.c_str()); }},
    /* r */
    {"fragment",
     [](std::string &xml) {
         common_find_and_update_xmlfile(xml.c_str(), "iocap:IoCapabilities",
                                        "/tmp/xml_tickets/IoMgmt/IoMgmtCap.xml");
     }},
    /* s */ {"clock", [](std::string &xml) { VARN_PutTimeServiceRTCSetting(xml.c_str()); }},
    /* t */ {"network time", [](std::string &xml) { VARN_PutTimeServiceSNTPSync(xml.c_str()); }},
    /* u */ {"mail settings", [](std::string &xml) { VARN_PutEmailDyn(xml.c_str()); }},
    /* v */ {"mail server", [](std::string &xml) { VARN_PutEmailServiceDyn(xml.c_str()); }},
    /* w */ {"SharePoint job", sharepoint_job},
    /* x */ {"SharePoint service", sharepoint_service},
    /* y */ {"send to USB", [](std::string &xml) { VARN_PutSendUSBServiceDyn(xml.c_str()); }},
    /* z */ {"job to USB", usb_job},
    /* { */ {"status", [](std::string &xml) { VARN_PutProductStatDyn(link, xml.data()); }},
    /* | */ {"service", [](std::string &xml) { VARN_PutProductServiceDyn(link, xml.data()); }},
    /* } */ {"security", [](std::string &xml) { VARN_PutSecurityDyn(xml.c_str()); }},
};

} // namespace

void take_document(Input input) {
    const Row &row = choose(rows, input);
    std::string xml = text_of(input);
    // A document ends with its terminator, for the library as for the server that calls it.
    xml.resize(std::min(xml.size(), xml.find('\0')));
    row.take(xml);
}

} // namespace varn::fuzz
