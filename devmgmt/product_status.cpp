/// Maintenance alerts: raised by counters or marker files, acknowledged by a host.

#include "varn/product_status.h"
#include "frame/document.h"
#include "frame/nvram.h"
#include "frame/root.h"
#include "varn/engine.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>

uint32_t g_cleanroller_seq_num = 0;
uint32_t g_replaceroller_seq_num = 0;
uint32_t g_replacepad_seq_num = 0;
uint32_t ModificationNumber = 0;
uint32_t AlertEvtCnt = 0;
int32_t ap_record_clean_roller = 0;
int32_t ap_record_replace_roller = 0;
int32_t ap_record_replace_pad = 0;

namespace varn {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/DevMgmt/ProductStatusDyn.xml";
constexpr char clean_marker[] = "/tmp/cleanp";
constexpr char replace_marker[] = "/tmp/replacer";

bool is_marked(const char *marker) { return access(device_path(marker).c_str(), R_OK) == 0; }

/// The unsigned count must have passed the mark: one below it calls for nothing.
bool is_need_clean(const NvramTable *table) {
    if (is_marked(clean_marker))
        return true;
    if (ap_record_clean_roller != 0 || table == nullptr ||
        table->scan_count < table->ScanCountAtRollerClean ||
        table->scan_count - table->ScanCountAtRollerClean < table->MaintCleanVal)
        return false;
    puts("Need to clean paper path!");
    return true;
}

/// Scans since a mark, as the signed difference that the intervals are compared with.
int32_t scans_since(const NvramTable &table, int32_t mark) {
    return static_cast<int32_t>(table.scan_count - static_cast<uint32_t>(mark));
}

bool is_need_replace_roller(const NvramTable *table) {
    if (is_marked(replace_marker))
        return true;
    return ap_record_replace_roller == 0 && table != nullptr &&
           scans_since(*table, table->ScanCountAtRollerReplace) >= table->roller_replace_interval;
}

/// The pad has no marker of its own: that of the rollers stands for both.
bool is_need_replace_pad(const NvramTable *table) {
    if (is_marked(replace_marker))
        return true;
    return ap_record_replace_pad == 0 && table != nullptr &&
           scans_since(*table, table->ScanCountAtPadReplace) >= table->pad_replace_interval;
}

/// In the order of the document.
constexpr struct AlertKind {
    enum ad__ProductStatusAlertID code;
    uint32_t &sequence; ///< 0 while the alert is not raised
    bool (*is_needed)(const NvramTable *table);
    int32_t &acknowledged;
    const char *acknowledgement; ///< logged with the action
    const char *marker;          ///< what an acknowledgement removes; null for nothing
} alert_kinds[] = {
    {ad__ProductStatusAlertID__scannerMaintenanceCleanRollersNeeded, g_cleanroller_seq_num,
     is_need_clean, ap_record_clean_roller, "Clean Roller!", clean_marker},
    {ad__ProductStatusAlertID__scannerMaintenanceReplaceRollersNeeded, g_replaceroller_seq_num,
     is_need_replace_roller, ap_record_replace_roller, "Replace Roller!", replace_marker},
    {ad__ProductStatusAlertID__scannerMaintenanceReplacePadNeeded, g_replacepad_seq_num,
     is_need_replace_pad, ap_record_replace_pad, "Replace PAD!", nullptr},
};

void update_alerts(const NvramTable *table) {
    for (const AlertKind &kind : alert_kinds) {
        const bool needed = kind.is_needed(table);
        if (needed == (kind.sequence != 0))
            continue;
        AlertEvtCnt += needed ? 1 : -1;
        ++ModificationNumber;
        kind.sequence = needed ? ModificationNumber : 0;
    }
}

void fill_alert(Document &document, psdyn__Alert &alert, const AlertKind &kind) {
    alert.ad__ProductStatusAlertID = document.value(kind.code);
    alert.dd__SequenceNumber_ = document.text(std::to_string(kind.sequence).c_str());
    alert.ad__Severity = document.value(ad__Severity__Warning);
    alert.ad__AlertDetails = document.make<ad__AlertDetails>();
    if (alert.ad__AlertDetails == nullptr)
        return;
    alert.ad__AlertDetails->__sizeAlertDetailsUserAction = 1;
    alert.ad__AlertDetails->AlertDetailsUserAction_ =
        document.value(ad__AlertDetailsUserAction__pressOK);
}

psdyn__AlertTable *fill_alerts(Document &document) {
    auto *table = document.make<psdyn__AlertTable>();
    if (table == nullptr)
        return nullptr;
    table->dd__ModificationNumber = document.text(std::to_string(ModificationNumber).c_str());
    table->Alert_ = document.make<psdyn__Alert>(static_cast<int>(std::size(alert_kinds)));
    if (table->Alert_ == nullptr)
        return table;
    for (const AlertKind &kind : alert_kinds)
        if (kind.sequence != 0)
            fill_alert(document, table->Alert_[table->__sizeAlert++], kind);
    return table;
}

/// The action that an alert of a host names; none when it leaves something out.
std::optional<int> user_action(const psdyn__Alert &alert) {
    const ad__AlertDetails *details = alert.ad__AlertDetails;
    if (details == nullptr || details->__sizeAlertDetailsUserAction < 1 ||
        details->AlertDetailsUserAction_ == nullptr)
        return std::nullopt;
    return details->AlertDetailsUserAction_[0];
}

void acknowledge(const psdyn__Alert &alert) {
    const std::optional<int> action = user_action(alert);
    if (alert.ad__ProductStatusAlertID == nullptr || !action)
        return;
    for (const AlertKind &kind : alert_kinds) {
        if (kind.code != *alert.ad__ProductStatusAlertID)
            continue;
        printf("%s action=%d\n", kind.acknowledgement, *action);
        if (*action != ad__AlertDetailsUserAction__pressOK)
            return;
        puts("AlertDetailsUserAction=pressOK");
        kind.acknowledged = 1;
        std::error_code error; // a marker that stays raises the alert again
        if (kind.marker != nullptr)
            std::filesystem::remove_all(device_path(kind.marker), error);
    }
}

int32_t apply(const psdyn__ProductStatusDyn &root, const char *reader) {
    if (root.dd__Version == nullptr) {
        printf("%s: !psdyn.dd__Version\n", reader);
        return 400;
    }
    if (root.AlertTable == nullptr) {
        puts("Can not detect AlertTable...");
        return 400;
    }
    const psdyn__AlertTable &table = *root.AlertTable;
    printf("Detected AlertTable...__sizeAlert=%d\n", table.__sizeAlert);
    for (int i = 0; i < table.__sizeAlert; ++i) {
        printf("Looking Alter%d: \n", i);
        if (table.Alert_ == nullptr) {
            puts("Can not find alert!");
            return 400;
        }
        acknowledge(table.Alert_[0]); // in every round: a host acknowledges one alert at a time
    }
    return 0;
}

} // namespace
} // namespace varn

int32_t VARN_GetProductStatDyn(char **out_buf, uint32_t *out_len) {
    varn::NvramTable table = {};
    varn::update_alerts(read_nvram(&table) == 0 ? &table : nullptr);
    return varn::get_document<psdyn__ProductStatusDyn>(
        varn::product_get, varn::ticket, out_buf, out_len,
        [](varn::Document &document, psdyn__ProductStatusDyn &root) {
            root.dd__Version = document.version("SVN-OLK-VARN.756", "2014-05-07");
            root.AlertTable = varn::fill_alerts(document);
        });
}

int32_t VARN_PutProductStatDyn(uint32_t, char *xml) {
    static constexpr char reader[] = "gsoap_read_psdyn";
    if (xml == nullptr)
        return -1;
    const size_t length = strlen(xml);
    printf("%s, xml_len=%d\n", reader, static_cast<int>(length));
    varn::Document document(varn::private_put);
    psdyn__ProductStatusDyn root;
    if (!document.read(xml, length, root)) {
        printf("%s error=%d\n", reader, document.error());
        return 400;
    }
    return varn::apply(root, reader);
}

int32_t VARN_GetProductStatCap(char **out_buf, uint32_t *out_len) {
    static constexpr char path[] = "/tmp/xml_tickets/DevMgmt/ProductStatusCap.xml";
    return varn::get_static(__func__, path, path, out_buf, out_len);
}
