#include "store/settings_file.h"

#include "frame/root.h"
#include "varn/settings_files.h"

#include <cstdio>
#include <cstring>

namespace varn::settings {

std::string value_of(const void *record, const Field &field) {
    const char *text = static_cast<const char *>(record) + field.offset;
    return {text, field.width != 0 ? strnlen(text, field.width) : strlen(text)};
}

void log_field(const void *record, const Field &field) {
    printf("%s=%s\n", field.name, field.secret ? "*" : value_of(record, field).c_str());
}

void seed(const char *file) {
    run_shell(R"(echo "<?xml version=\"1.0\" encoding=\"utf-8\"?>" > )" + shell_path(file) + " ");
}

mxml_node_t *find_top(const ConfigTree &tree, const char *file, const char *top) {
    if (tree.get() == nullptr) {
        printf("%s:%d:#Error: unable to open %s \n", __FILE_NAME__, __LINE__, file);
        return nullptr;
    }
    mxml_node_t *node = cfg_find_param_node(tree.get(), top);
    if (node == nullptr)
        printf("%s:%d:#Error: unable to find %s\n", __FILE_NAME__, __LINE__, top);
    return node;
}

std::string text_of(mxml_node_t *node) {
    char text[2048] = {};
    cfg_get_param_value(node, text, sizeof text);
    return text;
}

std::string path_of(mxml_node_t *node, mxml_node_t *top) {
    char path[1024] = {};
    return cfg_get_node_pathname(node, top, path, sizeof path) == 0 ? path : "";
}

namespace {

/// Every step is tried, none is tested: a file that does not open stays as it is.
int32_t add_element(const char *parent, const char *name, const char *value, const char *file,
                    int32_t (*set_value)(mxml_node_t *, const char *)) {
    if (parent == nullptr || name == nullptr || value == nullptr || file == nullptr)
        return 0;
    const std::string path = device_path(file);
    const ConfigTree tree(path.c_str());
    mxml_node_t *start = *parent != '\0' ? cfg_find_param_node(tree.get(), parent) : tree.get();
    mxml_node_t *node = cfg_add_param_node(start, name);
    (*parent != '\0' ? set_value : cfg_set_param_value)(node, value);
    cfg_save_file(tree.get(), path.c_str());
    return 0;
}

} // namespace
} // namespace varn::settings

int32_t Save_xml_Set(const char *parent, const char *name, const char *value, const char *file) {
    return varn::settings::add_element(parent, name, value, file, cfg_set_param_value);
}

int32_t Save_SMB_xml_Set(const char *parent, const char *name, const char *value) {
    puts("\n~~~~ Save_SMB_xml_Set ~~~~~");
    return Save_xml_Set(parent, name, value, "/datafs/Smb.xml");
}

int32_t Save_email_body_xml_Set(const char *parent, const char *name, const char *value,
                                const char *file) {
    return varn::settings::add_element(parent, name, value, file, cfg_set_param_email_body_value);
}
