#include "device/web/panel_settings.h"

#include "device/web/panel_services.h"
#include "platform/cfg.h"
#include "varn/settings_files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <openssl/evp.h>
#include <span>
#include <stdexcept>

namespace varn::web {

using nlohmann::json;

namespace {

std::atomic<std::uint64_t> revision = static_cast<std::uint64_t>(
    std::chrono::system_clock::now().time_since_epoch() / std::chrono::milliseconds(1));

enum class Kind : std::uint8_t { plain, secret, base64 };

/// A field of a record; the width of the last one is what a service takes of it.
struct Field {
    const char *name;
    std::size_t offset;
    std::size_t width;
    Kind kind = Kind::plain;
};

constexpr Field mail[] = {{"EmailAddress", 0, 128}, {"ServerName", 128, 256},
                          {"ServerPort", 384, 10},  {"Security", 394, 10},
                          {"UserName", 404, 256},   {"Password", 660, 255, Kind::secret}};
constexpr Field network_time[] = {{"NTP_Flag", 0, 10}, {"NTPServer", 10, 255}};
constexpr Field protocols[] = {{"IPv4", 0, 10},     {"IPv6", 10, 10},    {"DHCP", 20, 10},
                               {"DHCPv6", 30, 10},  {"Bonjour", 40, 10}, {"WS-Discovery", 50, 10},
                               {"WS-Scan", 60, 10}, {"Telnet", 70, 10}};
constexpr Field administrator[] = {{"SecurityUser", 0, 128},
                                   {"SecurityPassword", 128, 255, Kind::secret}};
constexpr Field scan_defaults[] = {{"EnableNetworkFolder", 0, 10},
                                   {"EnableEmail", 10, 10},
                                   {"FolderPrefix", 20, 128},
                                   {"FolderFileType", 148, 10},
                                   {"FolderResolution", 158, 10},
                                   {"FolderColor", 168, 20},
                                   {"FolderStraightenContent", 188, 10},
                                   {"FolderDeleteBlankPage", 198, 10},
                                   {"FolderMisfeedDetection", 208, 10},
                                   {"FolderCombineDocument", 218, 10},
                                   {"EmailSubject", 228, 256, Kind::base64},
                                   {"EmailBodyText", 484, 2048, Kind::base64},
                                   {"EmailPrefix", 2532, 128},
                                   {"EmaiFileType", 2660, 10},
                                   {"EmaiResolution", 2670, 10},
                                   {"EmaiColor", 2680, 20},
                                   {"EmaiStraightenContent", 2700, 10},
                                   {"EmaiDeleteBlankPage", 2710, 10},
                                   {"EmaiMisfeedDetection", 2720, 10},
                                   {"EmaiCombineDocument", 2730, 10}};

struct RecordFile {
    const char *name; ///< in actions and in the state
    const char *path;
    const char *top;
    std::span<const Field> fields;
    void (*update)(const void *record);
    void (*reset)();
};
const RecordFile record_files[] = {
    {"mail", "/datafs/ESMTP.xml", "netESMTP", mail, update_ESMTP, Save_ESMTP_xml_Default},
    {"time", "/datafs/NTPSetting.xml", "netNTPSetting", network_time, update_NTPServer,
     Save_NTPServer_xml_Default},
    {"protocols", "/datafs/Advanced_setting.xml", "Advanced", protocols, update_Advanced,
     Save_Advanced_xml_Default},
    {"administrator", "/datafs/SecurityAdmin.xml", "netSecuritySetting", administrator,
     update_SecurityAdmin, Save_SecurityAdmin_xml_Default},
    {"scan_defaults", "/datafs/ScanSettings.xml", "netScanSetting", scan_defaults,
     update_ScanSetting, Save_ScanSetting_xml_Default},
};

constexpr std::size_t record_size = 4096;
constexpr std::size_t most_entries = 50;

/// A value of an entry: its element, what the panel calls it, and its field of the record.
struct Column {
    const char *element;
    const char *name;
    std::size_t offset;
    std::size_t width;
    Kind kind = Kind::plain;
};
constexpr Column folder_columns[] = {{"DisplayName", "name", 20, 128},
                                     {"NetworkPath", "path", 148, 256},
                                     {"UserName", "user", 404, 128},
                                     {"Password", "password", 532, 128, Kind::secret},
                                     {"PIN", "pin", 660, 16, Kind::secret}};
constexpr Column address_columns[] = {{"EmailAddress", "address", 20, 255}};

struct ListFile {
    const char *name;
    const char *path;
    const char *top;
    std::span<const Column> columns;
    void (*update)(const void *record);
    std::int32_t (*remove)(const char *row);
    void (*reset)();
};
const ListFile list_files[] = {
    {"folders", "/datafs/Smb.xml", "netShareFolder", folder_columns, update_ShareFolder,
     Del_SMB_xml, Save_SMB_xml_Default},
    {"addressbook", "/datafs/AddressBook.xml", "netAddressBook", address_columns,
     update_AddressBook, Del_AddressBook_xml, Save_AddressBook_xml_Default},
};

// --- Reading ------------------------------------------------------------------------------------

class ConfigFile {
public:
    ConfigFile(const Device &device, const char *path)
        : handle_(cfg_init((device.root() + path).c_str()), cfg_deinit) {}
    mxml_node_t *find(const char *path) const { return cfg_find_param_node(handle_.get(), path); }

private:
    std::unique_ptr<mxml_node_t, decltype(&cfg_deinit)> handle_;
};

std::string text_of(mxml_node_t *node) {
    std::array<char, 2049> text = {};
    cfg_get_param_value(node, text.data(), text.size());
    return text.data();
}

std::string name_of(mxml_node_t *node) {
    std::array<char, 64> name = {};
    cfg_get_node_pathname(node, node, name.data(), name.size());
    return name.data();
}

/// What a base64 value stands for; the services write "NULL" for none.
std::string decoded(const std::string &text) {
    std::string bytes(text.size(), '\0');
    const auto *source = reinterpret_cast<const unsigned char *>(text.data());
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char *>(bytes.data()), source,
                                     static_cast<int>(text.size()));
    if (size < 0)
        return {};
    const auto padding = static_cast<std::size_t>(std::ranges::count(text, '='));
    bytes.resize(static_cast<std::size_t>(size) - std::min<std::size_t>(padding, 2));
    return bytes == "NULL" ? "" : bytes;
}

std::string encoded(const std::string &value) {
    const std::string text = value.empty() ? "NULL" : value;
    std::string result((text.size() + 2) / 3 * 4 + 1, '\0');
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char *>(result.data()),
                                     reinterpret_cast<const unsigned char *>(text.data()),
                                     static_cast<int>(text.size()));
    result.resize(static_cast<std::size_t>(size));
    return result;
}

json state_of(const Device &device, const RecordFile &file) {
    const ConfigFile config(device, file.path);
    if (config.find(file.top) == nullptr)
        return nullptr;
    json values = json::object();
    for (const Field &field : file.fields) {
        const std::string text =
            text_of(config.find((std::string(file.top) + "." + field.name).c_str()));
        if (field.kind == Kind::secret)
            values[std::string("has_") + field.name] = !text.empty();
        else
            values[field.name] = field.kind == Kind::base64 ? decoded(text) : text;
    }
    return values;
}

/// The entries with all their values, by element; nothing without the file.
std::optional<std::vector<json>> entries_of(const Device &device, const ListFile &file) {
    const ConfigFile config(device, file.path);
    mxml_node_t *top = config.find(file.top);
    if (top == nullptr)
        return std::nullopt;
    std::vector<json> entries;
    for (mxml_node_t *node = top; (node = cfg_walk_next(node, top, 1)) != nullptr;) {
        const std::string name = name_of(node);
        if (name == "Host")
            entries.push_back(json::object());
        else if (!entries.empty())
            entries.back()[name] = text_of(node);
    }
    return entries;
}

json state_of(const Device &device, const ListFile &file) {
    const auto entries = entries_of(device, file);
    if (!entries)
        return nullptr;
    json list = json::array();
    for (const json &entry : *entries) {
        json shown = {{"row", list.size() + 1}};
        for (const Column &column : file.columns) {
            const std::string text = entry.value(column.element, "");
            if (column.kind == Kind::secret)
                shown[std::string("has_") + column.name] = !text.empty() && text != "NULL";
            else
                shown[column.name] = text;
        }
        list.push_back(shown);
    }
    return list;
}

// --- Changing -----------------------------------------------------------------------------------

/// Puts a text into a record. It may hold line ends and no other control characters.
void put_text(std::string &record, std::size_t offset, std::size_t width, const char *name,
              const std::string &text) {
    const auto cannot_be_stored = [](unsigned char c) {
        return (c < ' ' && c != '\n' && c != '\r' && c != '\t') || c == 0x7F;
    };
    if (text.size() > width)
        throw std::invalid_argument(std::string(name) + " is too long.");
    if (std::ranges::any_of(text, cannot_be_stored))
        throw std::invalid_argument(std::string(name) + " has signs that cannot be stored.");
    record.replace(offset, text.size(), text);
}

PanelAnswer put_record(const Device &device, const RecordFile &file, const json &values) {
    for (const auto &value : values.items()) {
        const std::string &name = value.key();
        if (std::ranges::none_of(file.fields, [&](const Field &f) { return name == f.name; }))
            return {400, "There is no setting " + name + ".", 0};
    }
    if (ConfigFile(device, file.path).find(file.top) == nullptr)
        file.reset(); // what is absent is as in a new device
    const ConfigFile config(device, file.path);
    std::string record(record_size, '\0');
    for (const Field &field : file.fields) {
        const std::string at = std::string(file.top) + "." + field.name;
        std::string text = text_of(config.find(at.c_str()));
        if (values.contains(field.name)) {
            text = values.at(field.name).get<std::string>();
            if (field.kind == Kind::base64)
                text = encoded(text);
        }
        put_text(record, field.offset, field.width, field.name, text);
    }
    file.update(record.data());
    return {};
}

const PanelAnswer entry_has_gone = {409, "This entry is not there any more.", 0};

/// Rows move when another panel deletes one.
bool is_meant(const ListFile &file, const json &entry, const json &request) {
    return !request.contains("was") ||
           request.at("was") == entry.value(file.columns.front().element, "");
}

PanelAnswer put_entry(const Device &device, const ListFile &file, const json &request) {
    auto entries = entries_of(device, file);
    if (!entries) { // missing, or what a power cut left of it
        file.reset();
        entries.emplace();
    }
    const auto row = request.value("row", std::size_t{0});
    if (row > entries->size())
        return entry_has_gone;
    if (row == 0 && entries->size() >= most_entries)
        return {409, "There is no room for another entry.", 0};
    const json old = row > 0 ? (*entries)[row - 1] : json::object();
    if (row > 0 && !is_meant(file, old, request))
        return entry_has_gone;
    std::string record(record_size, '\0');
    // No row has this text: the entry is a new one.
    put_text(record, 0, 20, "row", row > 0 ? std::to_string(row) : "new");
    for (const Column &column : file.columns)
        put_text(record, column.offset, column.width, column.name,
                 request.value(column.name, old.value(column.element, "")));
    file.update(record.data());
    const auto after = entries_of(device, file);
    const std::size_t expected = entries->size() + (row == 0 ? 1 : 0);
    if (!after || after->size() != expected)
        return {409, "The entry could not be stored.", 0};
    return {};
}

PanelAnswer delete_entry(const Device &device, const ListFile &file, const json &request) {
    const auto row = request.at("row").get<std::size_t>();
    const auto entries = entries_of(device, file);
    if (!entries || row == 0 || row > entries->size() ||
        !is_meant(file, (*entries)[row - 1], request) ||
        file.remove(std::to_string(row).c_str()) != 0)
        return entry_has_gone;
    return {};
}

PanelAnswer reset_file(void (*reset)()) {
    reset();
    return {};
}

} // namespace

json settings_state(Device &device) {
    json state = json::object();
    device.exclusively({Lock::settings_files}, [&] {
        for (const RecordFile &file : record_files)
            state[file.name] = state_of(device, file);
        for (const ListFile &file : list_files)
            state[file.name] = state_of(device, file);
    });
    state["clock"] = describe_clock(device);
    state["sharepoint"] = describe_sharepoint_jobs(device);
    return state;
}

std::uint64_t settings_revision() { return revision; }

std::optional<PanelAnswer> change_settings(Device &device, const std::string &action,
                                           const json &request) {
    const auto dot = std::min(action.find('.'), action.size());
    const std::string name = action.substr(0, dot);
    const std::string verb = action.substr(dot);
    std::optional<PanelAnswer> answer = act_on_services(device, action, request);
    const auto change = [&](const auto &work) {
        device.exclusively({Lock::settings_files}, [&] { answer = work(); });
    };
    for (const RecordFile &file : record_files) {
        if (name == file.name && verb == ".put")
            change([&] { return put_record(device, file, request.at("values")); });
        else if (name == file.name && verb == ".reset")
            change([&] { return reset_file(file.reset); });
    }
    for (const ListFile &file : list_files) {
        if (name == file.name && verb == ".put")
            change([&] { return put_entry(device, file, request); });
        else if (name == file.name && verb == ".delete")
            change([&] { return delete_entry(device, file, request); });
        else if (name == file.name && verb == ".reset")
            change([&] { return reset_file(file.reset); });
    }
    if (answer && answer->status == 200)
        ++revision;
    return answer;
}

} // namespace varn::web
