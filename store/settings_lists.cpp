/// Files that hold a list: address book and network folders.

#include "frame/root.h"
#include "store/settings_file.h"
#include "varn/settings_files.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <memory>
#include <mxml.h>
#include <string_view>
#include <vector>

namespace varn::settings {
namespace {

constexpr int row_limit = 50;

constexpr Field address_entry[] = {
    {"Row", 0, 20, nullptr},
    {"EmailAddress", 20, 0, nullptr},
};

constexpr Field folder_entry[] = {
    {"Row", 0, 20, nullptr},
    {"DisplayName", 20, 128, nullptr},
    {"NetworkPath", 148, 256, nullptr},
    {"UserName", 404, 128, nullptr},
    {"Password", 532, 128, nullptr, true},
    {"PIN", 660, 0, nullptr, true},
};

struct ListFile {
    const char *path;
    const char *temporary;
    const char *top;
};
constexpr ListFile address_book{"/datafs/AddressBook.xml", "/datafs/AddressBook_temp.xml",
                                "netAddressBook"};
constexpr ListFile folders{"/datafs/Smb.xml", "/datafs/Smb_temp.xml", "netShareFolder"};

struct Value {
    const char *name;
    std::string text;
};
using Values = std::vector<Value>; ///< of an entry, behind its Row, in the file's order

std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '\r': // a parser would make a line feed of it
            result += "&#13;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

/// Writes the entry's values over those behind `row`. What an entry of a damaged file has not got
/// is not written into the next one.
void set_values(mxml_node_t *row, mxml_node_t *top, const Values &values) {
    mxml_node_t *entry = mxmlGetParent(row);
    mxml_node_t *node = row;
    for (const Value &value : values) {
        node = cfg_walk_next(node, top, 1);
        if (node == nullptr || mxmlGetParent(node) != entry)
            return;
        cfg_set_param_value(node, value.text.c_str());
    }
}

bool write_fragment(const ListFile &file, int row, const Values &values) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><root><Host>\n<Row>" +
                       std::to_string(row) + "</Row>";
    const auto add = [&text](std::initializer_list<std::string_view> parts) {
        for (const std::string_view part : parts)
            text += part;
    };
    for (const Value &value : values)
        add({"<", value.name, ">", escaped(value.text), "</", value.name, ">"});
    text += "</Host></root>";
    // A folder's password is in it.
    UniqueFd fd(
        open(device_path(file.temporary).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    FILE *stream = fd.ok() ? fdopen(fd.get(), "w") : nullptr;
    if (stream == nullptr)
        return false;
    fd.release();
    fprintf(stream, "%s\n", text.c_str());
    return fclose(stream) == 0;
}

/// Moves the entry of the temporary file to the end of the list.
void insert_fragment(const ListFile &file, mxml_node_t *top) {
    const std::string path = device_path(file.temporary);
    const ConfigTree fragment(path.c_str());
    if (fragment.get() == nullptr) {
        printf("unable to open %s %s%d\n", file.temporary, __FILE_NAME__, __LINE__);
        return;
    }
    constexpr size_t path_size = 1024;
    const std::unique_ptr<char, decltype(&free)> from(static_cast<char *>(malloc(path_size)), free);
    const std::unique_ptr<char, decltype(&free)> to(static_cast<char *>(malloc(path_size)), free);
    if (from == nullptr || to == nullptr) {
        puts("#Error: insufficient memory");
        return;
    }
    snprintf(from.get(), path_size, "root.%s", "Host");
    snprintf(to.get(), path_size, "%s", file.top);
    mxml_node_t *entry = cfg_find_param_node(fragment.get(), from.get());
    if (entry == nullptr) {
        printf("unable to find %s in %s\n", "ev:Event", file.temporary);
        return;
    }
    printf("insert path: %s \n", from.get());
    printf("insert add_path: %s \n", to.get());
    mxmlAdd(top, MXML_ADD_AFTER, MXML_ADD_TO_PARENT, entry);
}

/// Updates the entry of that row, or adds one.
void add_entry(const ListFile &file, const std::string &row, const Values &values) {
    const std::string path = device_path(file.path);
    const ConfigTree tree(path.c_str());
    mxml_node_t *top = find_top(tree, file.path, file.top);
    if (top == nullptr)
        return;
    const std::string row_path = std::string(file.top) + ".Host.Row";
    int next_row = 1;
    for (mxml_node_t *node = top; node != nullptr; node = cfg_walk_next(node, top, 1)) {
        if (path_of(node, top) != row_path)
            continue;
        if (text_of(node) == row) {
            set_values(node, top, values);
            cfg_save_file(tree.get(), path.c_str());
            return;
        }
        ++next_row;
    }
    if (next_row > row_limit)
        return;
    if (write_fragment(file, next_row, values))
        insert_fragment(file, top);
    else // what lies there may be the entry of an earlier call
        printf("unable to open %s %s%d\n", file.temporary, __FILE_NAME__, __LINE__);
    cfg_save_file(tree.get(), path.c_str());
}

/// Takes the entry of a row out, without a word about one that is not there.
int32_t delete_entry(const ListFile &file, const char *row) {
    const std::string path = device_path(file.path);
    const ConfigTree tree(path.c_str());
    mxml_node_t *top = find_top(tree, file.path, file.top);
    if (top == nullptr)
        return -1;
    const std::string entry_path = std::string(file.top) + ".Host";
    mxml_node_t *entry = nullptr;
    for (mxml_node_t *node = top; node != nullptr; node = cfg_walk_next(node, top, 1)) {
        const std::string at = path_of(node, top);
        if (at == entry_path)
            entry = node;
        if (at != entry_path + ".Row" || text_of(node) != row)
            continue;
        cfg_del_param_node(entry);
        cfg_save_file(tree.get(), path.c_str());
        break;
    }
    return 0;
}

/// Closes the gap that a deletion leaves.
int32_t renumber(const ListFile &file) {
    const std::string path = device_path(file.path);
    const ConfigTree tree(path.c_str());
    mxml_node_t *top = find_top(tree, file.path, file.top);
    if (top == nullptr)
        return -1;
    const std::string row_path = std::string(file.top) + ".Host.Row";
    int row = 1;
    for (mxml_node_t *node = top; node != nullptr; node = cfg_walk_next(node, top, 1)) {
        if (path_of(node, top) != row_path)
            continue;
        if (row < strtol(text_of(node).c_str(), nullptr, 10))
            cfg_set_param_value(node, std::to_string(row).c_str());
        ++row;
    }
    cfg_save_file(tree.get(), path.c_str());
    return 0;
}

int32_t delete_row(const ListFile &file, const char *row) {
    if (row == nullptr || delete_entry(file, row) != 0)
        return -1;
    return renumber(file);
}

const char *text_or_empty(const char *text) { return text != nullptr ? text : ""; }

void log_entry(const char *caller, const char *title, std::span<const Field> fields,
               const void *record) {
    printf("%s: %s Information: \n", caller, title);
    for (const Field &field : fields)
        log_field(record, field);
}

} // namespace
} // namespace varn::settings

using namespace varn::settings;

void Add_AddressBook_xml(const void *record) {
    if (record == nullptr)
        return;
    add_entry(address_book, value_of(record, address_entry[0]),
              {{"EmailAddress", value_of(record, address_entry[1])}});
}

void Add_SMB_xml(const char *row, const char *display, const char *path, const char *user,
                 const char *password, const char *pin) {
    const std::string pin_text = text_or_empty(pin);
    add_entry(folders, text_or_empty(row),
              {{"DisplayName", text_or_empty(display)},
               {"NetworkPath", text_or_empty(path)},
               {"UserName", text_or_empty(user)},
               {"Password", text_or_empty(password)},
               {"PIN", pin_text.empty() ? "NULL" : pin_text}});
}

void update_AddressBook(const void *record) {
    if (record == nullptr)
        return;
    log_entry(__func__, "AddressBook", address_entry, record);
    Add_AddressBook_xml(record);
}

void update_ShareFolder(const void *record) {
    if (record == nullptr)
        return;
    log_entry(__func__, "ShareFolder", folder_entry, record);
    std::string texts[std::size(folder_entry)];
    for (size_t i = 0; i < std::size(folder_entry); ++i)
        texts[i] = value_of(record, folder_entry[i]);
    Add_SMB_xml(texts[0].c_str(), texts[1].c_str(), texts[2].c_str(), texts[3].c_str(),
                texts[4].c_str(), texts[5].c_str());
}

int32_t Del_AddressBook_xml(const char *row) { return delete_row(address_book, row); }

int32_t Del_SMB_xml(const char *row) { return delete_row(folders, row); }
