/// Every GET against its floor. A new one joins with a row in `add_documents`.

#include "bench/bare_binding.h"
#include "bench/device.h"
#include "bench/pairs.h"
#include "device/wire/net_block.h"
#include "frame/profile.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace varn::bench {
namespace {

using Get = std::function<int32_t(char **, uint32_t *)>;

constexpr double get_target = 1.2;
constexpr double network_target = 1.3;
constexpr double time_target = 1.3;    ///< a large block is cleared, a time stamp made and logged
constexpr double profile_target = 1.3; ///< the documents are small

std::string document_of(const Get &get) {
    char *text = nullptr;
    uint32_t length = 0;
    if (get(&text, &length) != 0)
        return {};
    std::string document(text, length);
    free(text);
    return document;
}

Work work_of(const Get &get) {
    return [get] {
        char *text = nullptr;
        uint32_t length = 0;
        const bool done = get(&text, &length) == 0 && length > 0;
        free(text);
        return done;
    };
}

bool read_back(const std::string &path) {
    size_t size = 0;
    char *text = read_file(path.c_str(), size);
    free(text);
    return text != nullptr && size > 0;
}

/// A document as a structure that stays.
template <typename Root>
struct Kept {
    Context context;
    Root root;
    bool ok;

    Kept(const Variant &variant, const std::string &document, void (*complete)(Root &))
        : context(variant), ok(context.read(document, root)) {
        if (ok && complete != nullptr)
            complete(root);
    }
};

/// The floor of a document: the calls of the binding, one write of the file and one read.
template <typename Root>
Work floor_of(const Variant &variant, const std::string &path, const std::string &document,
              void (*complete)(Root &)) {
    auto kept = std::make_shared<Kept<Root>>(variant, document, complete);
    return [=, &variant] {
        Context context(variant);
        return kept->ok && context.write(path, kept->root) && read_back(path);
    };
}

/// The same for a ticket that is also a store: it is read into the structure first.
template <typename Root>
Work stored_floor_of(const Variant &variant, const std::string &path) {
    return [=, &variant] {
        Context context(variant);
        Root root;
        size_t size = 0;
        char *text = read_file(path.c_str(), size);
        const bool done = text != nullptr && context.read({text, size}, root);
        free(text);
        return done && context.write(path, root) && read_back(path);
    };
}

/// The same for one that is not written again.
template <typename Root>
Work read_floor_of(const Variant &variant, const std::string &path) {
    return [=, &variant] {
        Context context(variant);
        Root root;
        size_t size = 0;
        char *text = read_file(path.c_str(), size);
        const bool done = text != nullptr && context.read({text, size}, root);
        free(text);
        return done;
    };
}

/// A floor that does not arrive at the same bytes would be none.
Work checked(const char *name, const Work &floor, const char *written,
             const std::string &document) {
    if (floor() && get(written) == document)
        return floor;
    fprintf(stderr, "%s: the floor gives another document\n", name);
    return [] { return false; };
}

/// complete  restores what reading a document leaves out of its structure; null for nothing
template <typename Root>
void add_document(const char *name, const Variant &variant, const Get &get,
                  void (*complete)(Root &) = nullptr, double target = get_target) {
    constexpr char floor_ticket[] = "/tmp/floor";
    const std::string document = document_of(get);
    add({name, work_of(get),
         checked(name, floor_of<Root>(variant, place(floor_ticket), document, complete),
                 floor_ticket, document),
         target});
}

template <typename Root>
void add_stored_document(const char *name, const Variant &variant, const Get &get) {
    constexpr char floor_ticket[] = "/tmp/floor-stored";
    const std::string document = document_of(get);
    put(floor_ticket, document);
    add({name, work_of(get),
         checked(name, stored_floor_of<Root>(variant, place(floor_ticket)), floor_ticket, document),
         get_target});
}

/// A document that is only read back.
void add_file(const char *name, const char *path, const Get &get) {
    add({name, work_of(get), [full = place(path)] { return read_back(full); }, get_target});
}

/// A document of a store: the store is read, and the document written.
template <typename Store, typename Root>
void add_document_of_store(const char *name, const char *store, const Get &get_one) {
    constexpr char floor_ticket[] = "/tmp/floor-of-store";
    const std::string document = document_of(get_one);
    const Work read = read_floor_of<Store>(escl_get, place(store));
    const Work write =
        checked(name, floor_of<Root>(escl_get, place(floor_ticket), document, nullptr),
                floor_ticket, document);
    add({name, work_of(get_one), [=] { return read() && write(); }, get_target});
}

/// The three elements are one text and two references to it.
void share_model(prdcfgdyn2__ProductConfigDyn &root) {
    prdcfgdyn__ProductInformation &info = *root.prdcfgdyn__ProductInformation;
    info.dd__MakeAndModelBase = info.dd__MakeAndModelFamily = info.dd__MakeAndModel_;
}

int32_t get_status(char **out, uint32_t *length) {
    varn_scanner_status status = {};
    status.wSensorStatus = 2;
    return eSCL_GetScanStatus(&status, out, length, 0);
}

/// The feeder is loaded and empty in turn, so that no document is that of the request before.
int32_t get_changed_status(char **out, uint32_t *length) {
    static bool loaded = false;
    loaded = !loaded;
    varn_scanner_status status = {};
    status.wSensorStatus = loaded ? 2 : 0;
    return eSCL_GetScanStatus(&status, out, length, 0);
}

/// A document of the network: its floor copies the status block as often as the GET does, each time
/// into zeroed memory of its own, as the channel has it.
template <typename Root>
void add_network_document(const char *name, const Get &get) {
    constexpr char floor_ticket[] = "/tmp/floor";
    const unsigned before = net_block_reads();
    const std::string document = document_of(get);
    const unsigned copies = net_block_reads() - before;
    const Work write = floor_of<Root>(namespaced_get, place(floor_ticket), document, nullptr);
    const Work floor = [=] {
        for (unsigned i = 0; i < copies; ++i) {
            void *block = calloc(wire::net::block_size, 1);
            if (block != nullptr)
                mvtc_read_NetworkServer(0, 0, block, wire::net::block_size);
            free(block);
        }
        return write();
    };
    add({name, work_of(get), checked(name, floor, floor_ticket, document), network_target});
}

template <auto function>
Get of(const char *adapter) {
    return [=](char **out, uint32_t *length) { return function(adapter, out, length); };
}

void add_network_documents() {
    add_network_document<io__Adapters>("Adapters", VARN_GetIoMgmtAdapters);
    for (const char *adapter : {"eth0", "wifi0"})
        add_network_document<io__Profile>(
            (std::string("Profiles, ") + adapter).c_str(), [=](char **out, uint32_t *length) {
                return VARN_GetIoMgmtAdaptersProfiles(adapter, "1", out, length);
            });
    add_network_document<io__Protocols>("Protocols", of<VARN_GetIoMgmtAdaptersProtocols>("eth0"));
    add_network_document<io__NetworkStats>("NetworkStats",
                                           of<VARN_GetIoMgmtAdaptersNetworkStats>("wifi0"));
    add_network_document<io__WifiNetworks>(
        "WifiNetworks, 10 of them", [](char **out, uint32_t *length) {
            return VARN_GetIoMgmtAdaptersWifiNetworks("wifi0", nullptr, out, length);
        });
    add_network_document<io__ClientList>("ClientList", of<VARN_GetIoMgmtClientList>("wifi1"));
    add_network_document<io__VsaCodes>("VsaCodes", of<VARN_GetIoMgmtVsaCodes>("wifi0"));
    add_network_document<io__WpsSession>("WPS Pin", of<VARN_GetIoMgmtAdaptersWPSPIN>("wifi0"));
    add_network_document<io__IoConfig>("IoConfig", VARN_GetIoConfig);
    add_network_document<iocfgdyn2__IOConfigDyn>("IOConfigDyn.xml", VARN_GetIOConfigDyn);
    add_network_document<nadyn__NetAppsDyn>("NetAppsDyn.xml", VARN_GetNetAppsDyn);
    add_network_document<nasdyn__NetAppsSecureDyn>("NetAppsSecureDyn.xml",
                                                   VARN_GetNetAppsSecureDyn);
}

void put_jobs() {
    for (const char *uuid :
         {"11111111-2b3a-4c5d-8e9f-0123456789ab", "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab"}) {
        varn_scan_job_info job = {};
        strcpy(job.uuid, uuid);
        job.status = JOBSTAT_COMPLETED;
        job.imagesCompleted = 4;
        eSCL_FWSetScanJobInfo(&job);
    }
}

constexpr char job_id[] = "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";

int32_t get_sharepoint_job(char **out, uint32_t *length) {
    return VARN_GetSharePointPredefinedJobs_id(job_id, out, length);
}

int32_t get_test_result(char **out, uint32_t *length) {
    return VARN_GetTestResultSharePointPredefinedJobs_id(job_id, out, length);
}

/// A document of profiles: its floor copies their bytes once, into memory that stays.
template <typename Root>
void add_profile_document(const char *name, const Get &get, uint32_t bytes = sizeof(Profile)) {
    constexpr char floor_ticket[] = "/tmp/floor";
    const std::string document = document_of(get);
    const Work write = floor_of<Root>(namespaced_get, place(floor_ticket), document, nullptr);
    const auto records = std::make_shared<std::string>(bytes, '\0');
    const Work floor = [=] {
        return mvtc_read_H1_profile(0, records->data(), bytes, 0) == 0 && write();
    };
    add({name, work_of(get), checked(name, floor, floor_ticket, document), profile_target});
}

void add_digital_send_documents() {
    constexpr uint32_t job_table = 20 * sizeof(Profile);
    add_profile_document<emaildyn__EmailSettings>("ScanToEmailDyn.xml", VARN_GetEmailDyn);
    add_profile_document<_emaildyn__CommonEmailServerDyn>("CommonEmailServerDyn.xml",
                                                          VARN_GetEmailServiceDyn);
    add_profile_document<spts__SharePointService>("SharePointService.xml", VARN_GetSharePointDyn);
    add_profile_document<folder__PredefinedJobs>("SharePoint/PredefinedJobs, 20",
                                                 VARN_GetSharePointPredefinedjobs, job_table);
    add_profile_document<folder__PredefinedJob>("SharePoint/PredefinedJobs/{uuid}",
                                                get_sharepoint_job, job_table);
    add_profile_document<spts__TestResult>("SharePoint test result", get_test_result, 4);
    add_profile_document<susb__SendUSBServiceDyn>("SendUSBServiceDyn.xml",
                                                  VARN_GetSendUSBServiceDyn);
    add_profile_document<susb__PredefinedJobs>("SendUSB/PredefinedJobs",
                                               VARN_GetSendUSBServicePredefinedJobs, 0);
}

constexpr char host_uuid[] = "6f1c1f0e-2b3a-4c5d-8e9f-000000000001";
constexpr char destinations_file[] =
    "/tmp/xml_tickets/WalkupScanToComp/WalkupScanToCompDestinations.xml";

std::string subscription_request() {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<scan:WalkupScanSubscription xmlns:scan=\"http://" VARN_SCHEMA_HOST_B
           "/imaging/escl/2011/05/03\"><scan:HostIdentifier>desk 1</scan:HostIdentifier>"
           "<scan:Connection>Network</scan:Connection><scan:Shortcuts>"
           "<scan:Shortcut>Letters</scan:Shortcut><scan:Shortcut>Photos</scan:Shortcut>"
           "</scan:Shortcuts></scan:WalkupScanSubscription>";
}

std::string destination_request(const std::string &name) {
    const std::string space = "http://" VARN_SCHEMA_HOST_A "/schemas/imaging/con/";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<wus:WalkupScanToCompDestination xmlns:wus=\"" +
           space + "varn/walkupscan/2010/09/28\" xmlns:dd=\"" + space +
           "dictionaries/1.0/\" xmlns:dd3=\"" + space + "dictionaries/2009/04/06\"><dd:Name>" +
           name + "</dd:Name><dd3:Hostname>" + name +
           "</dd3:Hostname><wus:LinkType>Network</wus:LinkType></wus:WalkupScanToCompDestination>";
}

void add_subscriptions() {
    add_document<scan__WalkupScanSubscriptions>(
        "WalkupSubscriptions", escl_get, [](char **out, uint32_t *length) {
            return eSCL_GetWalkupSubscription(nullptr, out, length);
        });
    add_document<scan__WalkupScanSubscription>(
        "WalkupSubscriptions, one", escl_get, [](char **out, uint32_t *length) {
            return eSCL_GetWalkupSubscription(host_uuid, out, length);
        });
    const std::string request = subscription_request();
    add({"WalkupSubscriptions, POST",
         [request] {
             char *uuid = nullptr;
             return eSCL_CreateWalkupSubscription(request.c_str(), &uuid) == 0;
         },
         [request] {
             Context context(escl_put);
             scan__WalkupScanSubscription root;
             return context.read(request, root);
         },
         get_target});
    // What a poller finds nearly always is nothing, or the event of another host.
    varn_pc_record host = {};
    strcpy(host.szPCNameUTF8, "desk 2");
    eSCL_SetWalkupScanDest_NetworkScan(&host, 0, 0, 0, "6f1c1f0e-2b3a-4c5d-8e9f-000000000002", 0);
    add({"WalkupScanEvent, for another host",
         [] {
             char *text = nullptr;
             uint32_t length = 0;
             return eSCL_GetWalkupScanEvent(host_uuid, &text, &length) == 0;
         },
         read_floor_of<scan__WalkupScanEvent>(escl_get,
                                              place("/tmp/xml_tickets/eSCL/WalkupScanEvent.xml")),
         get_target});
}

void add_destinations() {
    static std::string one;
    for (const char *name : {"first", "second", "third"}) {
        char *uuid = nullptr;
        if (VARN_CreateWalkupScanDestination(destination_request(name).c_str(), &uuid, 1) == 0)
            one = std::string("/WalkupScanToComp/WalkupScanToCompDestinations/") + uuid;
    }
    const Work read =
        read_floor_of<wus__WalkupScanToCompDestinations>(escl_get, place(destinations_file));
    add({"WalkupScanToCompDestinations", work_of([](char **out, uint32_t *length) {
             return VARN_GetWalkupScanDestination(nullptr, out, length);
         }),
         [read, path = place(destinations_file)] { return read() && read_back(path); },
         get_target});
    add_document_of_store<wus__WalkupScanToCompDestinations, wus__WalkupScanToCompDestination>(
        "WalkupScanToCompDestinations, one", destinations_file, [](char **out, uint32_t *length) {
            return VARN_GetWalkupScanDestination(one.c_str(), out, length);
        });
    VARN_SetWalkupScanEvent(1);
    add_file("WalkupScanToCompEvent", "/tmp/xml_tickets/WalkupScanToComp/WalkupScanToCompEvent.xml",
             VARN_GetWalkupScanEvent);
}

void add_events_and_jobs() {
    for (const int bit : {1, 8, 16, 32, 64})
        VARN_SetEventTable(bit, "/WalkupScanToComp/WalkupScanToCompDestinations/1");
    add_stored_document<ev__EventTable>("EventTable", event_get, [](char **out, uint32_t *length) {
        char stamp[VARN_EVENT_STAMP_SIZE];
        return VARN_GetEventTable(nullptr, out, length, stamp);
    });
    for (int i = 0; i < VARN_JOB_SLOTS; ++i)
        VARN_Set_Job(VARN_JOB_SCAN, VARN_JOB_PROCESSING, VARN_JOB_USER_IO);
    add_file("JobList", "/tmp/xml_tickets/Jobs/JobsList.xml", VARN_GetJobList);
    const Get get_job = [](char **out, uint32_t *length) {
        return VARN_Get_SpecificJobXML(out, length, 7);
    };
    put("/tmp/floor-job", document_of(get_job));
    add({"JobList, one", work_of(get_job),
         [path = place("/tmp/floor-job")] { return load_and_save(path) && read_back(path); },
         get_target});
}

} // namespace

void add_documents() {
    put_jobs();
    add_document<varn__DiscoveryTree>("DiscoveryTree.xml", product_get, VARN_GetDiscoveryTree);
    add_document<prdcfgdyn2__ProductConfigDyn>("ProductConfigDyn.xml", product_get,
                                               VARN_GetProductConfigDyn, share_model);
    add_document<psdyn__ProductStatusDyn>("ProductStatusDyn.xml", product_get,
                                          VARN_GetProductStatDyn);
    add_document<pudyn__ProductUsageDyn>("ProductUsageDyn.xml", product_get,
                                         VARN_GetProductUsageDyn);
    add_document<prdservicedyn__ProductServiceDyn>("ProductServiceDyn.xml", product_get,
                                                   VARN_GetProductServiceDyn);
    add_document<secdyn__SecurityDyn>("SecurityDyn.xml", namespaced_get, VARN_GetSecurityDyn);
    add_document<scan__eSCLConfig>("eSCLConfig", escl_namespaced_get, eSCL_GeteSCLConfig);
    add_document<scan__ScannerStatusType>("ScannerStatus", escl_get, get_status);
    add_stored_document<scan__ScannerStatusType>("ScannerStatus, changed; floor reads it too",
                                                 escl_get, get_changed_status);
    add_document<ts__SupportedTimeZones>("SupportedTimeZones", namespaced_get,
                                         VARN_GetTimeServiceSupportedTimeZones, nullptr,
                                         time_target);
    add_document<ts__RTCSetting>("RTCSetting", namespaced_get, VARN_GetTimeServiceRTCSetting,
                                 nullptr, time_target);
    add_document<ts__SNTPSync>("SNTPSync", namespaced_get, VARN_GetTimeServiceSNTPSync, nullptr,
                               time_target);
    add_document<ts__SyncSetting>("SNTPSync/Defaults", namespaced_get,
                                  VARN_GetTimeServiceSNTPDefaults, nullptr, time_target);
    add_network_documents();
    add_file("eSclManifest.xml", "/tmp/xml_tickets/eSCL/eSclManifest.xml", eSCL_GetManifest);
    add_file("ProductConfigCap.xml", "/tmp/xml_tickets/DevMgmt/ProductConfigCap_RTC.xml",
             VARN_GetProductConfigCap);
    add_digital_send_documents();
    add_subscriptions();
    add_destinations();
    add_events_and_jobs();
}

} // namespace varn::bench
