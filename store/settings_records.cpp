/// Files that hold one record: mail server, network time, protocol switches, administrator, scan
/// defaults. Factory content of the lists, too.

#include "frame/root.h"
#include "store/settings_file.h"
#include "varn/settings_files.h"

#include <cstdio>
#include <cstring>

namespace varn::settings {
namespace {

constexpr Field mail_server[] = {
    {"EmailAddress", 0, 128, ""}, {"ServerName", 128, 256, ""}, {"ServerPort", 384, 10, ""},
    {"Security", 394, 10, "ON"},  {"UserName", 404, 256, ""},   {"Password", 660, 0, "", true},
};

constexpr Field network_time[] = {
    {"NTP_Flag", 0, 10, "Disable"},
    {"NTPServer", 10, 0, ""},
};

constexpr Field switches[] = {
    {"IPv4", 0, 10, "Enable"},     {"IPv6", 10, 10, "Enable"},
    {"DHCP", 20, 10, "Enable"},    {"DHCPv6", 30, 10, "Enable"},
    {"Bonjour", 40, 10, "Enable"}, {"WS-Discovery", 50, 10, "Enable"},
    {"WS-Scan", 60, 10, "Enable"}, {"Telnet", 70, 10, "Enable"},
};

constexpr Field administrator[] = {
    {"SecurityUser", 0, 128, nullptr},
    {"SecurityPassword", 128, 0, nullptr, true},
};

/// The missing l of the mail elements is the file's. Subject and body are base64, of "NULL" here.
constexpr Field scan_defaults[] = {
    {"EnableNetworkFolder", 0, 10, "ON"},       {"EnableEmail", 10, 10, "ON"},
    {"FolderPrefix", 20, 128, "scan"},          {"FolderFileType", 148, 10, "Scan_PDF"},
    {"FolderResolution", 158, 10, "DPI_200"},   {"FolderColor", 168, 20, "SCAN_COLOR"},
    {"FolderStraightenContent", 188, 10, "ON"}, {"FolderDeleteBlankPage", 198, 10, "OFF"},
    {"FolderMisfeedDetection", 208, 10, "ON"},  {"FolderCombineDocument", 218, 10, "ON"},
    {"EmailSubject", 228, 256, "TlVMTA=="},     {"EmailBodyText", 484, 2048, "TlVMTA=="},
    {"EmailPrefix", 2532, 128, "scan"},         {"EmaiFileType", 2660, 10, "Scan_PDF"},
    {"EmaiResolution", 2670, 10, "DPI_200"},    {"EmaiColor", 2680, 20, "SCAN_COLOR"},
    {"EmaiStraightenContent", 2700, 10, "ON"},  {"EmaiDeleteBlankPage", 2710, 10, "OFF"},
    {"EmaiMisfeedDetection", 2720, 10, "ON"},   {"EmaiCombineDocument", 2730, 0, "ON"},
};

struct RecordFile {
    const char *path;
    const char *top;
    std::span<const Field> fields;
    const char *title; ///< of a record in the log
};

constexpr RecordFile mail_server_file{"/datafs/ESMTP.xml", "netESMTP", mail_server, "ESMTP"};
constexpr RecordFile network_time_file{"/datafs/NTPSetting.xml", "netNTPSetting", network_time,
                                       "NTPServer"};
constexpr RecordFile switches_file{"/datafs/Advanced_setting.xml", "Advanced", switches,
                                   "Advanced"};
constexpr RecordFile administrator_file{"/datafs/SecurityAdmin.xml", "netSecuritySetting",
                                        administrator, "SecurityAdmin"};
constexpr RecordFile scan_defaults_file{"/datafs/ScanSettings.xml", "netScanSetting", scan_defaults,
                                        "ScanSetting"};

/// A writer that is broken off leaves a part of the file; the next one starts over.
void start(const char *file, const char *top) {
    seed(file);
    Save_xml_Set("", top, "", file);
}

void log_end(const char *caller) {
    printf(" %s  %s() line %d  \n", __FILE_NAME__, caller, __LINE__);
}

void write_factory(const RecordFile &file, const char *caller) {
    start(file.path, file.top);
    for (const Field &field : file.fields)
        if (field.factory != nullptr)
            Save_xml_Set(file.top, field.name, field.factory, file.path);
    log_end(caller);
}

/// Only the record's writer puts a blank behind this name.
const char *recorded_name(const Field &field) {
    return strcmp(field.name, "WS-Scan") == 0 ? "WS-Scan " : field.name;
}

void write_record(const RecordFile &file, const void *record) {
    if (record == nullptr)
        return;
    start(file.path, file.top);
    for (const Field &field : file.fields) {
        const bool is_body = strcmp(field.name, "EmailBodyText") == 0;
        (is_body ? Save_email_body_xml_Set : Save_xml_Set)(
            file.top, recorded_name(field), value_of(record, field).c_str(), file.path);
    }
}

void log_record(const RecordFile &file, const void *record, const char *caller) {
    printf("%s: %s Information: \n", caller, file.title);
    if (record == nullptr)
        return;
    for (const Field &field : file.fields) {
        if (&field == &mail_server[0])
            printf("Emaial=%s\n", value_of(record, field).c_str());
        else
            log_field(record, field);
    }
}

} // namespace
} // namespace varn::settings

using namespace varn::settings;

void Save_ESMTP_xml_Default(void) { write_factory(mail_server_file, __func__); }
void Save_NTPServer_xml_Default(void) { write_factory(network_time_file, __func__); }
void Save_Advanced_xml_Default(void) { write_factory(switches_file, __func__); }
void Save_SecurityAdmin_xml_Default(void) { write_factory(administrator_file, __func__); }
void Save_ScanSetting_xml_Default(void) { write_factory(scan_defaults_file, __func__); }

void Save_AddressBook_xml_Default(void) {
    start("/datafs/AddressBook.xml", "netAddressBook");
    log_end(__func__);
}

void Save_SMB_xml_Default(void) {
    seed("/datafs/Smb.xml");
    Save_SMB_xml_Set("", "netShareFolder", "");
    log_end(__func__);
}

void Add_ESMTP_xml(const void *record) { write_record(mail_server_file, record); }
void Add_NTPServer_xml(const void *record) { write_record(network_time_file, record); }
void Add_Advanced_xml(const void *record) { write_record(switches_file, record); }
void Add_SecurityAdmin_xml(const void *record) { write_record(administrator_file, record); }
void Add_ScanSetting_xml(const void *record) { write_record(scan_defaults_file, record); }

void update_ESMTP(const void *record) {
    log_record(mail_server_file, record, __func__);
    Add_ESMTP_xml(record);
}

void update_NTPServer(const void *record) {
    log_record(network_time_file, record, __func__);
    Add_NTPServer_xml(record);
}

void update_Advanced(const void *record) {
    log_record(switches_file, record, __func__);
    Add_Advanced_xml(record);
}

void update_SecurityAdmin(const void *record) {
    log_record(administrator_file, record, __func__);
    Add_SecurityAdmin_xml(record);
}

void update_ScanSetting(const void *record) {
    log_record(scan_defaults_file, record, __func__);
    Add_ScanSetting_xml(record);
}

int32_t Del_ESMTP_xml(const char *address) {
    if (address == nullptr)
        return -1;
    const RecordFile &file = mail_server_file;
    const std::string path = varn::device_path(file.path);
    const varn::ConfigTree tree(path.c_str());
    mxml_node_t *top = find_top(tree, file.path, file.top);
    if (top == nullptr)
        return -1;
    for (mxml_node_t *node = top; node != nullptr; node = cfg_walk_next(node, top, 1)) {
        if (path_of(node, top) != "netESMTP.EmailAddress" || text_of(node) != address)
            continue;
        cfg_del_param_node(node);
        cfg_save_file(tree.get(), path.c_str());
        break;
    }
    return 0;
}
