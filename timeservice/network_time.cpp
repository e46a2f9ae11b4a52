/// Network time: its state, its settings, and what it goes back to; and the two static tickets.

#include "timeservice/time_block.h"

#include <cstring>
#include <ctime>

namespace varn::timeservice {
namespace {

#define TICKET_FOLDER "/tmp/xml_tickets/timeservice/"
constexpr char config_ticket[] = TICKET_FOLDER "SNTPSync_config.xml";
constexpr char defaults_ticket[] = TICKET_FOLDER "SNTPSync_Defaults.xml";
constexpr char use_defaults_ticket[] = TICKET_FOLDER "tsConfig.xml";
constexpr char sync_now_ticket[] = TICKET_FOLDER "SNTPSync_syncnow.xml";
constexpr char discovery_ticket[] = TICKET_FOLDER "SNTPSync_DiscoveryStatus.xml";
constexpr char cap[] = TICKET_FOLDER "TimeServiceCap.xml";
constexpr char manifest[] = TICKET_FOLDER "TimeServiceManifest.xml";
#undef TICKET_FOLDER

/// A network address. A byte that an address cannot have is shown as a question mark.
template <size_t N>
char *address(Document &document, const char (&field)[N]) {
    std::string text(field, strnlen(field, N));
    for (char &c : text)
        if (c <= ' ' || c > '~')
            c = '?';
    return document.text(text.c_str());
}

template <size_t N>
void set_address(char (&field)[N], const char *text) {
    if (text != nullptr)
        snprintf(field, N, "%s", text);
}

dd__EnableDisableRemove *state(Document &document, const TimeBlock &block) {
    return document.value(block.sntp_state == 1 ? dd__EnableDisableRemove__enabled
                                                : dd__EnableDisableRemove__disabled);
}

tm broken_down(const TimeWords &words) {
    tm time = {};
    time.tm_sec = words.second;
    time.tm_min = words.minute;
    time.tm_hour = words.hour;
    time.tm_mday = words.day;
    time.tm_mon = words.month;
    time.tm_year = words.year;
    return time;
}

void fill_interval(Document &document, ts__SyncSetting &setting, uint32_t interval,
                   uint32_t units) {
    if ((setting.SyncInterval = document.make<ts__SyncInterval>()) == nullptr)
        return;
    setting.SyncInterval->LeaseTime = number(document, interval);
    setting.SyncInterval->TimeUnits = value_of<dd__TimeUnits>(document, units, 3);
}

void fill_config(Document &document, ts__SNTPSync &root, const TimeBlock &block) {
    root.State = state(document, block);
    if ((root.SyncStatus = document.make<ts__SyncStatus>()) != nullptr) {
        ts__SyncStatus &status = *root.SyncStatus;
        status.SyncState = value_of<ts__SyncState>(document, block.sync_state, 4);
        status.LastSyncTime = document.text(
            time_stamp(broken_down(block.last_sync_time), block.current_zone.offset_minutes)
                .c_str());
        status.LastSyncServerAddress = address(document, block.last_sync_server);
    }
    if ((root.SyncSetting = document.make<ts__SyncSetting>()) != nullptr) {
        ts__SyncSetting &setting = *root.SyncSetting;
        setting.ActionType = value_of<ts__ActionType>(document, block.action, 3);
        setting.ServerAddress = address(document, block.server);
        setting.ServerPort = number(document, block.server_port);
        fill_interval(document, setting, block.interval, block.interval_units);
    }
}

void fill_defaults(Document &document, ts__SyncSetting &root, const TimeBlock &block) {
    root.ServerAddress = address(document, block.default_server);
    root.ServerPort = number(document, block.default_server_port);
    fill_interval(document, root, block.default_interval, block.default_interval_units);
}

void fill_sync_now(Document &document, ts__SNTPSync &root) {
    root.State = document.value(dd__EnableDisableRemove__enabled);
    if ((root.SyncStatus = document.make<ts__SyncStatus>()) != nullptr) {
        root.SyncStatus->SyncState = document.value(ts__SyncState__failed);
        root.SyncStatus->LastSyncTime = document.text("2014-08-18T12:45:36-00:00");
    }
    if ((root.SyncSetting = document.make<ts__SyncSetting>()) != nullptr) {
        root.SyncSetting->ActionType = document.value(ts__ActionType__syncNow);
        root.SyncSetting->ServerAddress = document.text("time.example.net");
        root.SyncSetting->ServerPort = number(document, 9002);
    }
}

void fill_discovery(Document &document, ts__SNTPSync &root, const TimeBlock &block) {
    root.State = state(document, block);
    if ((root.SyncStatus = document.make<ts__SyncStatus>()) != nullptr)
        root.SyncStatus->SyncState = document.value(ts__SyncState__idle);
    root.DiscoveryStatus = document.value(ts__SyncState__succeeded);
}

/// A setting that the document left out stays zero.
void apply_setting(const ts__SyncSetting &setting, TimeBlock &block) {
    if (setting.ActionType != nullptr)
        block.action = *setting.ActionType;
    set_address(block.server, setting.ServerAddress);
    if (setting.ServerPort != nullptr)
        block.server_port = static_cast<uint32_t>(*setting.ServerPort);
    const ts__SyncInterval *interval = setting.SyncInterval;
    if (interval != nullptr && interval->LeaseTime != nullptr)
        block.interval = static_cast<uint32_t>(*interval->LeaseTime);
    if (interval != nullptr && interval->TimeUnits != nullptr)
        block.interval_units = *interval->TimeUnits;
}

void apply(const ts__SNTPSync &root, TimeBlock &block) {
    block.sntp_state = root.State != nullptr && *root.State == dd__EnableDisableRemove__enabled;
    if (root.SyncStatus != nullptr) {
        if (root.SyncStatus->SyncState != nullptr)
            block.sync_state = *root.SyncStatus->SyncState;
        set_address(block.last_sync_server, root.SyncStatus->LastSyncServerAddress);
    }
    if (root.SyncSetting != nullptr)
        apply_setting(*root.SyncSetting, block);
}

} // namespace
} // namespace varn::timeservice

namespace ts = varn::timeservice;

int32_t TimeService_SNTPSync_config_get() {
    return ts::build<ts__SNTPSync>(ts::config_ticket, ts::fill_config);
}

int32_t TimeService_SNTPSync_put(const char *document) {
    return ts::put_into_block<ts__SNTPSync>(document, __func__, ts::apply);
}

int32_t TimeService_SNTPSync_default_get() {
    return ts::build<ts__SyncSetting>(ts::defaults_ticket, ts::fill_defaults);
}

int32_t TimeService_SNTPSync_useDefaults_get() {
    return ts::build<ts__SyncSetting>(ts::use_defaults_ticket, ts::fill_defaults);
}

int32_t TimeService_SNTPSync_syncNow_get() {
    varn::write_document<ts__SNTPSync>(varn::namespaced_get, ts::sync_now_ticket,
                                       ts::fill_sync_now);
    return 0;
}

int32_t TimeService_SNTPSync_DiscoveryStatus_get() {
    return ts::build<ts__SNTPSync>(ts::discovery_ticket, ts::fill_discovery);
}

int32_t VARN_GetTimeServiceSNTPSync(char **out_buf, uint32_t *out_len) {
    return ts::get<ts__SNTPSync>(ts::config_ticket, out_buf, out_len, ts::fill_config);
}

int32_t VARN_PutTimeServiceSNTPSync(const char *document) {
    return TimeService_SNTPSync_put(document);
}

int32_t VARN_GetTimeServiceSNTPDefaults(char **out_buf, uint32_t *out_len) {
    return ts::get<ts__SyncSetting>(ts::defaults_ticket, out_buf, out_len, ts::fill_defaults);
}

int32_t VARN_GetTimeServiceCap(char **out_buf, uint32_t *out_len) {
    return varn::get_static(__func__, ts::cap, ts::cap, out_buf, out_len);
}

int32_t VARN_GetTimeServiceManifest(char **out_buf, uint32_t *out_len) {
    return varn::get_static(__func__, ts::manifest, ts::manifest, out_buf, out_len);
}
