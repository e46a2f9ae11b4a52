/// Service: the counters by which a service tool records that maintenance was done.

#include "frame/document.h"
#include "frame/nvram.h"
#include "platform/mvtc.h"
#include "varn/engine.h"
#include "varn/product_status.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace varn {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/DevMgmt/ProductServiceDyn.xml";

/// Every counter is written as a signed number.
dd__IntegerCounter *counter(Document &document, const char *name, int n, uint32_t value) {
    char text[16];
    snprintf(text, sizeof text, "%d", static_cast<int>(value));
    auto *element = document.make<dd__IntegerCounter>();
    if (element == nullptr)
        return nullptr;
    element->__item = document.text(text);
    printf("%s=%d tag_value%d=%s\n", name, static_cast<int>(value), n, text);
    return element;
}

/// What is worn for the pad can be set, but is not shown.
prdservicedyn__ScannerMaintenance *fill_maintenance(Document &document, const NvramTable &table) {
    auto *counts = document.make<prdservicedyn__ScannerMaintenance>();
    if (counts == nullptr)
        return nullptr;
    counts->RollerCleanCount = counter(document, "RollerCleanCount", 1, table.RollerCleanCount);
    counts->RollerReplaceCount = counter(document, "RollerRepCount", 2, table.RollerReplaceCount);
    counts->ScanCountAtRollerClean =
        counter(document, "CountAtClean", 3, table.ScanCountAtRollerClean);
    counts->ScanCountAtRollerReplace = counter(
        document, "CountAtRoller", 4, static_cast<uint32_t>(table.ScanCountAtRollerReplace));
    return counts;
}

/// The number that a host sets a counter to; none when it leaves the counter alone.
std::optional<long> requested(const dd__IntegerCounter *element, const char *log, int32_t old) {
    if (element == nullptr || element->__item == nullptr)
        return std::nullopt;
    printf("Update %s old=%d new=%s\n", log, old, element->__item);
    errno = 0;
    const long value = strtol(element->__item, nullptr, 10);
    if (errno == ERANGE)
        return std::nullopt;
    return value;
}

/// A new count re-arms its alert.
void clear_event(int32_t &acknowledged, const char *alert) {
    if (acknowledged == 0)
        return;
    printf("Clear %s event \n", alert);
    acknowledged = 0;
}

void apply_counts(const prdservicedyn__ScannerMaintenance &counts, NvramTable &table) {
    if (const auto value =
            requested(counts.RollerCleanCount, "\tRollerCleanCount", table.RollerCleanCount)) {
        table.RollerCleanCount = static_cast<uint16_t>(*value);
        clear_event(ap_record_clean_roller, "clean roller");
    }
    if (const auto value = requested(counts.RollerReplaceCount, "\tRollerReplaceCount",
                                     table.RollerReplaceCount)) {
        table.RollerReplaceCount = static_cast<uint16_t>(*value);
        clear_event(ap_record_replace_roller, "replace roller");
    }
    if (const auto value =
            requested(counts.PadReplaceCount, "    PadReplaceCount", table.PadReplaceCount)) {
        table.PadReplaceCount = static_cast<uint16_t>(*value);
        clear_event(ap_record_replace_pad, "replace pad");
    }
}

void apply_marks(const prdservicedyn__ScannerMaintenance &counts, NvramTable &table) {
    if (const auto value = requested(counts.ScanCountAtRollerClean, "\tScanCountAtRollerClean",
                                     static_cast<int32_t>(table.ScanCountAtRollerClean)))
        table.ScanCountAtRollerClean = static_cast<uint32_t>(*value);
    if (const auto value = requested(counts.ScanCountAtRollerReplace, "\tScanCountAtRollerReplace",
                                     table.ScanCountAtRollerReplace))
        table.ScanCountAtRollerReplace = static_cast<int32_t>(*value);
    if (const auto value = requested(counts.ScanCountAtPadReplace, "    ScanCountAtPadReplace",
                                     table.ScanCountAtPadReplace))
        table.ScanCountAtPadReplace = static_cast<int32_t>(*value);
}

bool has_what_cannot_be_set(const prdservicedyn__ProductServiceDyn &root) {
    return root.TelnetDebug != nullptr || root.FWVersion != nullptr || root.dd__Plex != nullptr ||
           root.ZqTcpTest != nullptr || root.PDLCRCData != nullptr;
}

} // namespace
} // namespace varn

int32_t VARN_GetProductServiceDyn(char **out_buf, uint32_t *out_len) {
    varn::NvramTable table = {};
    if (read_nvram(&table) != 0)
        table = {};
    return varn::get_document<prdservicedyn__ProductServiceDyn>(
        varn::product_get, varn::ticket, out_buf, out_len,
        [&](varn::Document &document, prdservicedyn__ProductServiceDyn &root) {
            root.dd__Version = document.version("SVN-OLK-VARN.773", "2014-05-30");
            root.ScannerMaintenance = varn::fill_maintenance(document, table);
        });
}

int32_t VARN_PutProductServiceDyn(uint32_t fd, char *xml) {
    if (xml == nullptr)
        return -1;
    const size_t length = strlen(xml);
    printf("%s, xml_len=%d\n", "gsoap_read_prdservicedyn", static_cast<int>(length));
    varn::Document document(varn::strict_private_put);
    varn::NvramTable table = {};
    const bool has_table = read_nvram(&table) == 0;
    prdservicedyn__ProductServiceDyn root;
    // The part before a fault is not applied: what cannot be read whole has no elements.
    if (!document.read(xml, length, root))
        root = {};
    if (root.ScannerMaintenance == nullptr) {
        puts("Can't find productdyn.ScannerMaintenance");
        return 400;
    }
    if (varn::has_what_cannot_be_set(root)) {
        puts("Client put others items which are not in cap !");
        return 400;
    }
    varn::apply_counts(*root.ScannerMaintenance, table);
    varn::apply_marks(*root.ScannerMaintenance, table);
    // Zeros in place of a table that cannot be read would take the device's identity with them.
    if (has_table)
        mvtc_write_nvram(fd, 0, &table, sizeof table);
    return 0;
}

int32_t VARN_GetProductServiceCap(char **out_buf, uint32_t *out_len) {
    static constexpr char path[] = "/tmp/xml_tickets/DevMgmt/ProductServiceCap.xml";
    return varn::get_static(__func__, path, path, out_buf, out_len);
}
