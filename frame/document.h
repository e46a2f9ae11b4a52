/// The document frame: every resource function is a straight run through it.
///
/// A GET fills a root structure, which is serialised into a fixed ticket file, which is read back
/// into a buffer for the caller. A PUT is the mirror: the request is read into a root structure
/// and handed to an apply step, which copies what it keeps. A context lives for one call.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <sys/types.h>
#include <type_traits>

#include "frame/guards.h"
#include "frame/root.h"
#include "soapH.h"
#include "varn/frame.h"

namespace varn {

/// How a family of resources sets its context up.
struct Variant {
    soap_mode mode;    ///< input and output alike
    bool namespaced;   ///< namespace call, MyMalloc's context, no id/ref graph
    mode_t permission; ///< of the ticket
};

constexpr Variant product_get{0x83000, false, 0600};
constexpr Variant namespaced_get{0x2087440, true, 0666};
constexpr Variant escl_get{0x2082000, false, 0600};
constexpr Variant escl_namespaced_get{0x2082000, true, 0600};
constexpr Variant event_get{0x82000, false, 0600};

constexpr Variant validating_put{0x85440, true, 0};
constexpr Variant wide_put{0x2087440, true, 0};
constexpr Variant escl_put{0x2082000, false, 0};
constexpr Variant settings_any_namespace{0x2086000, false, 0};
constexpr Variant private_put{0x82000, false, 0};
constexpr Variant strict_private_put{0x83000, false, 0};

/// What the binding generates for a root type, under one name. See VARN_DOCUMENT_ROOT.
template <typename Root>
struct Binding;

#define VARN_DOCUMENT_ROOT(Type, Tag)                                                              \
    template <>                                                                                    \
    struct Binding<Type> {                                                                         \
        static constexpr const char *tag = Tag;                                                    \
        static void serialize(soap *s, const Type *root) { soap_serialize_##Type(s, root); }       \
        static int put(soap *s, const Type *root) {                                                \
            return soap_put_##Type(s, root, tag, nullptr);                                         \
        }                                                                                          \
        static Type *get(soap *s, Type *root) {                                                    \
            return soap_get_##Type(s, root, nullptr, nullptr);                                     \
        }                                                                                          \
    }

VARN_DOCUMENT_ROOT(varn__DiscoveryTree, "varn:DiscoveryTree");
VARN_DOCUMENT_ROOT(_emaildyn__CommonEmailServerDyn, "emaildyn:CommonEmailServerDyn");
VARN_DOCUMENT_ROOT(emaildyn__EmailSettings, "emaildyn:EmailSettings");
VARN_DOCUMENT_ROOT(ev__EventTable, "ev:EventTable");
VARN_DOCUMENT_ROOT(ev__SupportedEventList, "ev:SupportedEventList");
VARN_DOCUMENT_ROOT(folder__PredefinedJob, "folder:PredefinedJob");
VARN_DOCUMENT_ROOT(folder__PredefinedJobs, "folder:PredefinedJobs");
VARN_DOCUMENT_ROOT(prdcfgdyn2__ProductConfigDyn, "prdcfgdyn2:ProductConfigDyn");
VARN_DOCUMENT_ROOT(prdservicedyn__ProductServiceDyn, "prdservicedyn:ProductServiceDyn");
VARN_DOCUMENT_ROOT(psdyn__ProductStatusDyn, "psdyn:ProductStatusDyn");
VARN_DOCUMENT_ROOT(pudyn__ProductUsageDyn, "pudyn:ProductUsageDyn");
VARN_DOCUMENT_ROOT(secdyn__SecurityDyn, "secdyn:SecurityDyn");
VARN_DOCUMENT_ROOT(scan__ScannerCapabilitiesType, "scan:ScannerCapabilities");
VARN_DOCUMENT_ROOT(scan__ScanSettingsType, "scan:ScanSettingsType");
VARN_DOCUMENT_ROOT(scan__ScannerStatusType, "scan:ScannerStatus");
VARN_DOCUMENT_ROOT(scan__eSCLConfig, "scan:eSCLConfig");
VARN_DOCUMENT_ROOT(scan__ScanBufferInfo, "scan:ScanBufferInfo");
VARN_DOCUMENT_ROOT(io__Adapters, "io:Adapters");
VARN_DOCUMENT_ROOT(io__Adapter, "io:Adapter");
VARN_DOCUMENT_ROOT(io__ClientList, "io:ClientList");
VARN_DOCUMENT_ROOT(io__IoConfig, "io:IoConfig");
VARN_DOCUMENT_ROOT(io__NetworkStats, "io:NetworkStats");
VARN_DOCUMENT_ROOT(io__Profile, "io:Profile");
VARN_DOCUMENT_ROOT(io__Protocols, "io:Protocols");
VARN_DOCUMENT_ROOT(io__VsaCodes, "io:VsaCodes");
VARN_DOCUMENT_ROOT(io__WifiNetworks, "io:WifiNetworks");
VARN_DOCUMENT_ROOT(io__WpsSession, "io:WpsSession");
VARN_DOCUMENT_ROOT(iocfgdyn2__IOConfigDyn, "iocfgdyn2:IOConfigDyn");
VARN_DOCUMENT_ROOT(nadyn__NetAppsDyn, "nadyn:NetAppsDyn");
VARN_DOCUMENT_ROOT(nasdyn__NetAppsSecureDyn, "nasdyn:NetAppsSecureDyn");
VARN_DOCUMENT_ROOT(ts__RTCSetting, "ts:RTCSetting");
VARN_DOCUMENT_ROOT(ts__SNTPSync, "ts:SNTPSync");
VARN_DOCUMENT_ROOT(ts__SupportedTimeZones, "ts:SupportedTimeZones");
VARN_DOCUMENT_ROOT(ts__SyncSetting, "ts:SyncSetting");
VARN_DOCUMENT_ROOT(scan__WalkupScanEvent, "scan:WalkupScanEvent");
VARN_DOCUMENT_ROOT(scan__WalkupScanSubscription, "scan:WalkupScanSubscription");
VARN_DOCUMENT_ROOT(scan__WalkupScanSubscriptions, "scan:WalkupScanSubscriptions");
VARN_DOCUMENT_ROOT(spts__SharePointService, "spts:SharePointService");
VARN_DOCUMENT_ROOT(spts__TestResult, "spts:TestResult");
VARN_DOCUMENT_ROOT(susb__PredefinedJob, "susb:PredefinedJob");
VARN_DOCUMENT_ROOT(susb__PredefinedJobs, "susb:PredefinedJobs");
VARN_DOCUMENT_ROOT(susb__SendUSBServiceDyn, "susb:SendUSBServiceDyn");
VARN_DOCUMENT_ROOT(wus__WalkupScanToCompCaps, "wus:WalkupScanToCompCaps");
VARN_DOCUMENT_ROOT(wus__WalkupScanToCompDestination, "wus:WalkupScanToCompDestination");
VARN_DOCUMENT_ROOT(wus__WalkupScanToCompDestinations, "wus:WalkupScanToCompDestinations");
VARN_DOCUMENT_ROOT(wus__WalkupScanToCompEvent, "wus:WalkupScanToCompEvent");

/// A binding context for one call, and what a fill step allocates in it. Everything obtained here
/// dies with the context. Without memory for a context every request gives null.
class Document {
public:
    explicit Document(const Variant &variant);
    /// Allocates in somebody else's context, which stays theirs.
    explicit Document(soap *borrowed) : soap_(borrowed), owned_(false) {}
    ~Document();
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    soap *get() const { return soap_; }
    bool ok() const { return soap_ != nullptr; }

    /// `count` zeroed objects.
    template <typename T>
    T *make(int count = 1) {
        static_assert(std::is_trivially_destructible_v<T>);
        return static_cast<T *>(allocate(sizeof(T), count));
    }
    /// One object with a value, for the members that are pointers because they are optional.
    template <typename T>
    T *value(T v) {
        T *object = make<T>();
        if (object != nullptr)
            *object = v;
        return object;
    }
    /// A copy of its own, so that it is never written as a reference to another element.
    char *text(const char *s);
    dd__Version *version(const char *revision, const char *date);

    /// Serialises `root` into an open file. Failures are not reported: the file shows them.
    template <typename Root>
    void write(int fd, const Root &root) {
        if (!begin_write(fd))
            return;
        Binding<Root>::serialize(soap_, &root);
        if (Binding<Root>::put(soap_, &root) == SOAP_OK)
            soap_end_send(soap_);
        else
            soap_flush(soap_); // what was written so far is served
    }
    /// Reads `root` from the text; false on an error, which error() then tells.
    template <typename Root>
    bool read(const char *xml, size_t length, Root &root) {
        return begin_read(xml, length) && finish_read(Binding<Root>::get(soap_, &root) != nullptr);
    }
    /// Reads `root` through a receive callback that the caller installed.
    template <typename Root>
    bool read(size_t (*receive)(soap *, char *, size_t), Root &root) {
        return begin_receive(receive) && finish_read(Binding<Root>::get(soap_, &root) != nullptr);
    }
    int error() const { return soap_ != nullptr ? soap_->error : SOAP_EOM; }
    /// Notes an error from outside the binding. Returns false.
    bool fail(int error) {
        if (soap_ != nullptr)
            soap_->error = error;
        return false;
    }

private:
    void *allocate(size_t size, int count);
    bool begin_write(int fd);
    bool begin_read(const char *xml, size_t length);
    bool begin_receive(size_t (*receive)(soap *, char *, size_t));
    bool finish_read(bool got);

    soap *soap_;
    bool owned_ = true;
    const char *input_ = nullptr;
    size_t input_left_ = 0;
};

/// Opens a ticket for a new document.
int open_ticket(const char *path, mode_t permission);

/// True when the text can be XML at all: the runtime would take other beginnings for the headers
/// of a protocol that is not spoken here.
bool begins_like_xml(std::string_view text);

/// Writes a ticket: `fill(document, root)` sets the elements from what was gathered before. Returns
/// the open ticket.
template <typename Root, typename Fill>
UniqueFd write_document(const Variant &variant, const char *ticket, Fill fill) {
    Document document(variant);
    UniqueFd file(open_ticket(ticket, variant.permission));
    Root root;
    fill(document, root);
    if (file.ok())
        document.write(file.get(), root);
    return file;
}

/// A GET: the ticket is written and read back.
template <typename Root, typename Fill>
int32_t get_document(const Variant &variant, const char *ticket, char **out_buf, uint32_t *out_len,
                     Fill fill) {
    const UniqueFd file = write_document<Root>(variant, ticket, fill);
    if (!file.ok() || out_buf == nullptr || out_len == nullptr)
        return common_read_file_data(ticket, out_buf, out_len);
    return read_back(file.get(), out_buf, out_len);
}

/// Reads a request through the shared reader; false when it cannot be read.
template <typename Root>
bool read_request(Document &document, const char *xml, Root &root) {
    varn_clearXmlBuffer();
    _vXmlBufferMaxLen = begins_like_xml(xml) ? static_cast<uint32_t>(strlen(xml)) : 0;
    varn_setXmlBuffer(xml);
    return document.read(varn_recv, root);
}

/// A PUT through the shared reader: `apply(root)` decides the result and copies what it keeps.
/// Returns -1 for null and for a document that cannot be read, with nothing applied.
template <typename Root, typename Apply>
int32_t put_document(const Variant &variant, const char *xml, const char *caller, Apply apply) {
    if (xml == nullptr)
        return -1;
    Document document(variant);
    Root root;
    if (!read_request(document, xml, root)) {
        printf("%s:%d:happen error:%d !\n", caller, __LINE__, document.error());
        return -1;
    }
    return apply(root);
}

/// A GET of a file that is there.
int32_t get_static(const char *caller, const char *logged, const char *path, char **out_buf,
                   uint32_t *out_len);

} // namespace varn
