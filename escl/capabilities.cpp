/// Scanner capabilities: the file on the device is edited in place, and served as it then stands.

#include "escl/settings_io.h"
#include "frame/guards.h"
#include "frame/nvram.h"
#include "frame/root.h"
#include "varn/engine.h"
#include "varn/escl_capabilities.h"
#include "varn/frame.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mxml.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

uint8_t *p_nvramtable = nullptr;

namespace {

constexpr char capabilities_file[] = "/web/eSCL/ScannerCapabilities";
constexpr std::string_view capabilities_root = "scan:ScannerCapabilities";

/// Heights in three-hundredths of an inch.
constexpr char long_simplex_height[] = "63300";
constexpr char long_duplex_height[] = "36600";
constexpr char long_flatbed_height[] = "4200";
constexpr int small_memory_mb = 256;
constexpr size_t nvram_size = sizeof(varn::NvramTable);

/// What stands in the file for as long as the file lives must be added once per process.
int32_t single_page_added = 0;
int32_t multipick_added = 0;
int32_t stop_job_added = 0;

/// Everything that an edit depends on.
struct Request {
    int32_t connection; ///< 1 HTTPS, -1 USB, else HTTP
    char host[64];
    char uuid[64];
    char serial[16];
    bool large_memory;

    bool operator==(const Request &) const = default;
};

void add_child(mxml_node_t *node, const char *name, const char *text) {
    mxml_node_t *child = mxmlNewElement(MXML_NO_PARENT, name);
    mxmlNewText(child, 0, text);
    mxmlAdd(node, MXML_ADD_AFTER, nullptr, child);
}

void add_once(int32_t &added, const char *log, mxml_node_t *node, const char *name,
              const char *text) {
    if (added != 0)
        return;
    puts(log);
    add_child(node, name, text);
    added = 1;
}

void edit_adf_options(mxml_node_t *node, const Request &) {
    puts("Find AdfOptions...");
    add_once(single_page_added, ">>>>>>>>>>>>>>>>Add SelectSinglePage", node, "scan:AdfOption",
             "SelectSinglePage");
    add_once(multipick_added, ">>>>>>>>>>>>>>>>Add MultipickDetection", node, "scan:AdfOption",
             "MultipickDetection");
}

void edit_multipick_actions(mxml_node_t *node, const Request &) {
    puts("Find MultipickDetectionActionSupport...");
    add_once(stop_job_added, "Add stop job support...", node, "scan:MultipickDetectionAction",
             "StopJob");
}

void edit_duplex_height(mxml_node_t *node, const Request &request) {
    if (!request.large_memory)
        return;
    puts("Find Duplex MaxHeight...");
    cfg_set_param_value(node, long_duplex_height);
}

void edit_flatbed_height(mxml_node_t *node, const Request &request) {
    if (!request.large_memory)
        return;
    puts("Modify Flatbed MaxHeight...");
    cfg_set_param_value(node, long_flatbed_height);
}

void edit_compression(mxml_node_t *node, const Request &request) {
    const bool usb = request.connection == -1;
    printf("Find CompressionFactorSupport.scan:Normal...%s\n", usb ? "USB" : "NET");
    cfg_set_param_value(node, usb ? "2" : "4");
}

void edit_admin_uri(mxml_node_t *node, const Request &request) {
    printf("Update AdminURI host=%s is_https=%d\n", request.host, request.connection);
    char uri[128];
    snprintf(uri, sizeof uri, "%s://%s.local/index.htm", request.connection == 1 ? "https" : "http",
             request.host);
    cfg_set_param_value(node, uri);
}

void edit_icon_uri(mxml_node_t *node, const Request &request) {
    printf("Update IconURI is_https=%d\n", request.connection);
    char uri[128];
    snprintf(uri, sizeof uri,
             request.connection == 1 ? "https://%s.local/icon.png"
                                     : "http://%s.local:8080/icon.png",
             request.host);
    cfg_set_param_value(node, uri);
}

void edit_serial(mxml_node_t *node, const Request &request) {
    cfg_set_param_value(node, request.serial);
}

void edit_uuid(mxml_node_t *node, const Request &request) {
    cfg_set_param_value(node, request.uuid);
}

/// One element that is edited, by its path below the root element: either a function or a
/// constant with its log line.
struct Edit {
    std::string_view path;
    void (*apply)(mxml_node_t *, const Request &);
    const char *log = nullptr;
    const char *value = nullptr;
};

constexpr Edit edits[] = {
    {"scan:Adf.scan:AdfOptions", edit_adf_options},
    {"scan:MultipickDetectionActionSupport", edit_multipick_actions},
    {"scan:GammaSupport.scan:Normal", nullptr, "Find GammaSupport...", "180"},
    {"scan:BrightnessSupport.scan:Normal", nullptr, "Find BrightnessSupport...", "1003"},
    {"scan:ContrastSupport.scan:Normal", nullptr, "Find ContrastSupport...", "1003"},
    {"scan:HighlightSupport.scan:Normal", nullptr, "Find HighlightSupport...", "1490"},
    {"scan:ShadowSupport.scan:Normal", nullptr, "Find ShadowSupport...", "94"},
    {"scan:Adf.scan:AdfDuplexInputCaps.scan:MaxHeight", edit_duplex_height},
    {"scan:Platen.scan:PlatenInputCaps.scan:MaxHeight", edit_flatbed_height},
    {"scan:CarrierSheetSupport", nullptr, "Find CarrierSheetSupport...", "false"},
    {"scan:CompressionFactorSupport.scan:Normal", edit_compression},
    {"scan:AdminURI", edit_admin_uri},
    {"scan:Adf.scan:AdfSimplexInputCaps.scan:MaxHeight", nullptr, "Find Simplex MaxHeight...",
     long_simplex_height},
    {"scan:WalkupScanSupport.scan:PINSupport", nullptr, "Find PINSupport...", "true"},
    {"scan:IconURI", edit_icon_uri},
    {"pwg:MakeAndModel", nullptr, "Update MakeAndModel.........", "ZQ Ravelin Tide T7700 tnw1"},
    {"pwg:SerialNumber", edit_serial},
    {"scan:UUID", edit_uuid},
};

/// A file that the edits of a request left as it was, to the byte. For as long as the file has this
/// text, the same request leaves it so again: only its log is written then.
struct SettledFile {
    Request request;
    std::string text;
    std::vector<const Edit *> edits; ///< in the order of the file
};
/// Never destroyed: a request may outlive the end of main.
SettledFile &settled = *new SettledFile;

/// Without a node an edit that was made before only logs.
void make_edit(const Edit &edit, mxml_node_t *node, const Request &request) {
    if (edit.apply != nullptr) {
        edit.apply(node, request);
    } else {
        puts(edit.log);
        cfg_set_param_value(node, edit.value);
    }
}

const varn::NvramTable *nvram_table() {
    if (p_nvramtable == nullptr) {
        p_nvramtable = static_cast<uint8_t *>(calloc(nvram_size, 1));
        if (p_nvramtable == nullptr)
            return nullptr;
        read_nvram(p_nvramtable);
    }
    return reinterpret_cast<const varn::NvramTable *>(p_nvramtable);
}

Request gather(int32_t connection) {
    Request request = {};
    request.connection = connection;
    if (const varn::NvramTable *table = nvram_table(); table != nullptr) {
        memcpy(request.uuid, table->uuid, sizeof table->uuid);
        memcpy(request.serial, table->serial_number, sizeof table->serial_number);
    }
    gethostname(request.host, sizeof request.host - 1);
    char memory_mb[16];
    request.large_memory = read_FW_dram_size(memory_mb) == 0 && atoi(memory_mb) > small_memory_mb;
    return request;
}

/// Edits the tree of the file and saves it. Returns false when that was not possible.
/// made  the edits, in their order
bool edit_tree(const std::string &file, const Request &request, std::vector<const Edit *> &made) {
    const varn::ConfigTree tree(file.c_str());
    mxml_node_t *top =
        tree.get() != nullptr ? cfg_find_param_node(tree.get(), capabilities_root.data()) : nullptr;
    if (top == nullptr)
        return false;
    char path[1024];
    constexpr size_t head = capabilities_root.size() + 1;
    for (mxml_node_t *node = cfg_walk_next(top, top, 1); node != nullptr;
         node = cfg_walk_next(node, top, 1)) {
        if (cfg_get_node_pathname(node, tree.get(), path, sizeof path) != 0)
            continue;
        const std::string_view full = path;
        if (full.size() <= head)
            continue;
        for (const Edit &edit : edits)
            if (edit.path == full.substr(head)) {
                make_edit(edit, node, request);
                made.push_back(&edit);
            }
    }
    return cfg_save_file(tree.get(), file.c_str()) == 0;
}

void edit_file(const Request &request) {
    const std::string before = varn::read_text_file(capabilities_file, O_RDONLY);
    if (!before.empty() && before == settled.text && request == settled.request) {
        for (const Edit *edit : settled.edits)
            make_edit(*edit, nullptr, request);
        return;
    }
    std::vector<const Edit *> made;
    if (edit_tree(varn::device_path(capabilities_file), request, made) &&
        varn::read_text_file(capabilities_file, O_RDONLY) == before)
        settled = {request, before, std::move(made)};
}

} // namespace

int32_t eSCL_GetScanCapa2(char **out_buf, uint32_t *out_len, int32_t is_https) {
    printf("is_https==============>%d\n", is_https);
    edit_file(gather(is_https));
    if (out_len == nullptr)
        return 0;
    return common_read_file_data(capabilities_file, out_buf, out_len);
}

int32_t eSCL_GetScanCapa(char **out_buf, uint32_t *out_len, int32_t is_https) {
    if (out_len != nullptr)
        *out_len = 0;
    eSCL_GetScanCapa2(out_buf, out_len, is_https);
    return 0;
}
