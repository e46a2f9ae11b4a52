#include "fuzz/device.h"
#include "fuzz/targets.h"

#include "platform/cfg.h"
#include "varn/varn.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace varn::fuzz {
namespace {

constexpr char uuid[40] = "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";
constexpr char destination[] = "/WalkupScanToComp/WalkupScanToCompDestinations/"
                               "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";

template <typename Function, typename... Arguments>
void get(Function function, Arguments... arguments) {
    char *out = nullptr;
    uint32_t length = 0;
    function(arguments..., &out, &length);
    free(out);
}

void capabilities() {
    for (const int32_t connection : {0, 1, -1, 0}) {
        char *out = nullptr;
        uint32_t length = 0;
        eSCL_GetScanCapa(&out, &length, connection);
        free(out);
    }
}

void settings() {
    std::string xml =
        "<?xml version=\"1.0\"?><scan:ScanSettings xmlns:scan=\"http://" VARN_SCHEMA_HOST_B
        "/imaging/escl/2011/05/03\"><scan:Gamma>120</scan:Gamma>"
        "</scan:ScanSettings>";
    varn_scan_param block;
    varn_gamma_str gamma = {};
    varn_multipick multipick = {};
    do_fill_scanparam(&block);
    eSCL_ParseScanParam(xml.data(), static_cast<uint32_t>(xml.size()), &block, &gamma, &multipick,
                        uuid, 1);
}

void status() {
    varn_scanner_status engine = {};
    varn_scan_job_info job = {};
    memcpy(job.uuid, uuid, sizeof uuid);
    for (const uint32_t error : {0U, 0x2002U, 0x200EU}) {
        engine.dwLastErr = error;
        char *out = nullptr;
        uint32_t length = 0;
        eSCL_GetScanStatus(&engine, &out, &length, error != 0 ? 1 : 0);
        free(out);
    }
    job.status = JOBSTAT_CREATED;
    eSCL_FWSetScanJobInfo(&job);
    job.status = JOBSTAT_COMPLETED;
    eSCL_FWUpdateScanJobInfo(&job);
    uint32_t busy = 0;
    eSCL_FWGetScanJobInfo(0, &busy);
    set_scan_specific_jobstatus(JOBSTAT_ABORTED, uuid, 1);
}

void jobs() {
    for (int i = 0; i < 22; ++i)
        VARN_Set_Job(i, i, i);
    VARN_Update_Job(0, 5, 0);
    get(VARN_GetJobList);
    char *out = nullptr;
    uint32_t length = 0;
    VARN_Get_SpecificJobXML(&out, &length, 20);
    free(out);
}

void events() {
    VARN_SetEventTable(8, destination);
    VARN_SetEventTable(1, nullptr);
    varn_event_filter filter = {3, "1-1", "ScanEvent"};
    char stamp[VARN_EVENT_STAMP_SIZE];
    for (uint32_t flags = 0; flags < 4; ++flags) {
        filter.flags = flags;
        char *out = nullptr;
        uint32_t length = 0;
        VARN_GetEventTable(&filter, &out, &length, stamp);
        free(out);
    }
}

void stored_jobs() {
    parse_ReserveScanJob_Setting("", uuid);
    parse_ReserveScanJob_CheckTime();
    parse_ReserveScanJob_deleteByID(uuid);
    parse_ReserveScanJob_delete("", uuid);
}

void stored_settings() {
    varn_scan_param block;
    varn_gamma_str gamma = {};
    varn_multipick multipick = {};
    do_fill_scanparam(&block);
    eSCL_ParseScanParam_forReserveJobSet(nullptr, &block, &gamma, &multipick, uuid);
}

void destinations() {
    WalkupScanDests *list = nullptr;
    if (VARN_GetWalkupScanDests(&list) == 0)
        VARN_FreeWalkupScanDests(&list);
    get(VARN_GetWalkupScanDestination, destination);
    get(VARN_GetWalkupScanDestination, nullptr);
    VARN_SetWalkupScanDest(0, 0, 9, 1, uuid);
    VARN_SetWalkupScanDest_NetworkScan(0, 0, 8, 0, uuid, 1);
    VARN_DeleteWalkupScanDestination(destination);
}

void picked_destination() {
    VARN_ResumeWalkupScan();
    VARN_StopResumeWalkupScan();
    const uint32_t parameters[64] = {1, 0x61626364};
    VARN_SetWalkupScanParameter(0, 0, parameters);
}

void shortcuts() {
    char name[256] = "";
    char id[40];
    memcpy(id, uuid, sizeof uuid);
    for (const int32_t index : {0, 8, 9, 30, -1})
        VARN_GetCustomerShortcutName(index, name, id);
}

void configuration() {
    get(VARN_GetProductConfigDyn);
    get(KOB_GetNVRamXML, 0U);
}

/// A tree that was loaded is saved, and what was saved loads again.
void tree() {
    const std::string path = device().root() + "/datafs/tree.xml";
    mxml_node_t *handle = cfg_init(path.c_str());
    if (handle == nullptr)
        return;
    char text[256];
    for (mxml_node_t *node = cfg_walk_next(handle, handle, 1); node != nullptr;
         node = cfg_walk_next(node, handle, 1)) {
        cfg_get_node_pathname(node, handle, text, sizeof text);
        cfg_find_param_node(handle, text);
        cfg_get_param_value(node, text, sizeof text);
        cfg_set_param_value(node, text);
    }
    mxml_node_t *first = cfg_walk_next(handle, handle, 1);
    if (first != nullptr)
        cfg_add_param_node(first, "scan:Name");
    const bool saved = cfg_save_file(handle, path.c_str()) == 0;
    cfg_deinit(handle);
    handle = saved ? cfg_init(path.c_str()) : nullptr;
    if (saved && handle == nullptr)
        abort(); // what was saved does not load
    cfg_deinit(handle);
}

void folders() {
    Add_SMB_xml("1", "desk", "//host/<share>", "user", "word", "");
    Add_SMB_xml("new", "desk", "//host/share", "user", "word", "1234");
    Del_SMB_xml("1");
    Save_SMB_xml_Set("netShareFolder", "Host", "a & b");
}

void sender() {
    Del_ESMTP_xml("desk@varn.example");
    Save_xml_Set("netESMTP", "EmailAddress", "desk@varn.example", "/datafs/ESMTP.xml");
}

struct Row {
    const char *path;
    void (*use)();
};
constexpr Row rows[] = {
    /* a */ {"/web/eSCL/ScannerCapabilities", capabilities},
    /* b */ {"/tmp/xml_tickets/eSCL/IQ.txt", settings},
    /* c */ {"/tmp/xml_tickets/eSCL/ScannerStatus.xml", status},
    /* d */ {"/tmp/xml_tickets/Jobs/JobsList.xml", jobs},
    /* e */ {"/tmp/xml_tickets/EventMgmt/EventTable.xml", events},
    /* f */ {"/tmp/xml_tickets/eSCL/ReserveJobs.xml", stored_jobs},
    /* g */
    {"/tmp/xml_tickets/WalkupScanToComp/WalkupScanToCompDestinations.xml", destinations},
    /* h */
    {"/tmp/xml_tickets/WalkupScanToComp/WalkupSelectDestination.xml", picked_destination},
    /* i */
    {"/tmp/xml_tickets/eSCL/WalkupScanEvent.xml", [] { get(eSCL_GetWalkupScanEvent, uuid); }},
    /* j */ {"/datafs/snmp.xml", [] { get(VARN_GetNetAppsDyn); }},
    /* k */ {"/datafs/nvram.bin", configuration},
    /* l */ {"/datafs/tree.xml", tree},
    /* m */
    {"/tmp/xml_tickets/WalkupScanToComp/"
     "CustomShortcuts.xml.6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab",
     shortcuts},
    /* n */
    {"/tmp/xml_tickets/eSCL/6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab.xml", stored_settings},
    /* o */
    {"/tmp/eth0_Ipv4DhcpAutoStatus", [] { VARN_PutIoMgmtAdaptersProfiles("eth0", "1", "<a/>"); }},
    /* p */ {"/datafs/Smb.xml", folders},
    /* q */ {"/datafs/ESMTP.xml", sender},
};

} // namespace

void take_file(Input input) {
    const Row &row = choose(rows, input);
    device().put(row.path, text_of(input));
    // The capabilities are read where the first request put a copy of them.
    if (row.use == capabilities)
        device().put("/tmp/xml_tickets/eSCL/ScannerCapabilities", text_of(input));
    row.use();
}

} // namespace varn::fuzz
