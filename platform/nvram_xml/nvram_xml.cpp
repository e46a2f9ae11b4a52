#include "platform/nvram_xml.h"

#include "platform/cfg/file.h"
#include "platform/cfg/tree.h"
#include "platform/nvram_xml/fields.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <set>

// The document: one element for each named field, and one `Bytes` element for each run of bytes
// between them, so that nothing of the table is lost:
//
//     <NvramTable>
//       <ScanCount>1234</ScanCount>
//       <Bytes offset="4">00000000</Bytes>
//       ...
//
// A text field that holds what XML cannot carry is written as <UUID encoding="hex">ffff...</UUID>.
namespace varn::nvram {
namespace {

constexpr char root_name[] = "NvramTable";
constexpr char bytes_name[] = "Bytes";

using Table = std::array<unsigned char, table_size>;

struct ReleaseTree {
    void operator()(mxml_node_t *handle) const { xmltree::release(handle); }
};
using Tree = std::unique_ptr<mxml_node_t, ReleaseTree>;

std::string to_hex(const unsigned char *bytes, std::size_t count) {
    constexpr char digits[] = "0123456789abcdef";
    std::string hex;
    for (std::size_t i = 0; i < count; ++i)
        hex.append({digits[bytes[i] >> 4], digits[bytes[i] & 15]});
    return hex;
}

std::string number_of(const Table &table, const Field &field) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < field.width; ++i)
        value |= static_cast<std::uint64_t>(table[field.offset + i]) << (8 * i);
    if (field.kind == Kind::signed_number) {
        std::uint64_t sign = (std::uint64_t{1} << (8 * field.width)) >> 1;
        return std::to_string(static_cast<std::int64_t>(value ^ sign) -
                              static_cast<std::int64_t>(sign));
    }
    return std::to_string(value);
}

std::size_t longest_text(const Field &field) {
    return field.kind == Kind::terminated_text ? field.width - 1u : field.width;
}

/// The field as a text, when reading that text gives every byte back.
std::optional<std::string> text_of(const Table &table, const Field &field) {
    const char *begin = reinterpret_cast<const char *>(table.data()) + field.offset;
    std::string_view bytes(begin, field.width);
    std::string_view text = bytes.substr(0, bytes.find('\0'));
    bool padded = bytes.find_first_not_of('\0', text.size()) == std::string_view::npos;
    bool plain = std::ranges::none_of(text, [](unsigned char c) { return c < ' '; });
    if (!padded || !plain || text.size() > longest_text(field) || xmltree::trim(text) != text ||
        !xmltree::is_xml_text(text))
        return std::nullopt;
    return std::string(text);
}

mxml_node_t *add_element(mxml_node_t *root, const char *name, const std::string &text) {
    mxmlNewOpaque(root, "\n  ");
    mxml_node_t *element = mxmlNewElement(root, name);
    if (!text.empty())
        mxmlNewOpaque(element, text.c_str());
    return element;
}

void add_bytes(mxml_node_t *root, const Table &table, std::size_t begin, std::size_t end) {
    if (begin == end)
        return;
    mxml_node_t *element = add_element(root, bytes_name, to_hex(&table[begin], end - begin));
    mxmlElementSetAttr(element, "offset", std::to_string(begin).c_str());
}

void add_field(mxml_node_t *root, const Table &table, const Field &field) {
    if (field.kind == Kind::number || field.kind == Kind::signed_number) {
        add_element(root, field.name, number_of(table, field));
    } else if (auto text = text_of(table, field)) {
        add_element(root, field.name, *text);
    } else {
        mxml_node_t *element =
            add_element(root, field.name, to_hex(&table[field.offset], field.width));
        mxmlElementSetAttr(element, "encoding", "hex");
    }
}

std::string document_of(const Table &table) {
    Tree handle(mxmlNewXML("1.0"));
    mxmlNewOpaque(handle.get(), "\n");
    mxml_node_t *root = mxmlNewElement(handle.get(), root_name);
    std::size_t end = 0;
    for (const Field &field : fields) {
        add_bytes(root, table, end, field.offset);
        add_field(root, table, field);
        end = field.offset + field.width;
    }
    add_bytes(root, table, end, table_size);
    mxmlNewOpaque(root, "\n");
    std::string text;
    return xmltree::write(handle.get(), text) ? text : std::string();
}

template <typename Int>
std::optional<Int> parse(std::string_view text, int base = 10) {
    Int value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

bool read_hex(std::string_view hex, unsigned char *dst, std::size_t size) {
    if (hex.size() != 2 * size)
        return false;
    for (std::size_t i = 0; i < size; ++i) {
        auto byte = parse<unsigned char>(hex.substr(2 * i, 2), 16);
        if (!byte)
            return false;
        dst[i] = *byte;
    }
    return true;
}

bool read_number(std::string_view text, const Field &field, Table &table) {
    std::int64_t span = std::int64_t{1} << (8 * field.width);
    bool is_signed = field.kind == Kind::signed_number;
    auto value = parse<std::int64_t>(text);
    if (!value || *value < (is_signed ? -span / 2 : 0) || *value >= (is_signed ? span / 2 : span))
        return false;
    for (std::size_t i = 0; i < field.width; ++i)
        table[field.offset + i] =
            static_cast<unsigned char>(static_cast<std::uint64_t>(*value) >> (8 * i));
    return true;
}

bool read_text(std::string_view text, const Field &field, Table &table) {
    if (text.size() > longest_text(field))
        return false;
    unsigned char *dst = &table[field.offset];
    std::fill_n(dst, field.width, 0);
    std::ranges::copy(text, dst);
    return true;
}

bool read_field(mxml_node_t *element, const Field &field, Table &table) {
    std::string content = xmltree::text_of(element);
    std::string_view text = xmltree::trim(content);
    const char *encoding = mxmlElementGetAttr(element, "encoding");
    if (encoding)
        return std::strcmp(encoding, "hex") == 0 &&
               read_hex(text, &table[field.offset], field.width);
    if (field.kind == Kind::number || field.kind == Kind::signed_number)
        return read_number(text, field, table);
    return read_text(text, field, table);
}

/// Bytes between the named fields; a named field is not to be set by the back door.
bool read_bytes(mxml_node_t *element, Table &table) {
    std::string content = xmltree::text_of(element);
    std::string_view hex = xmltree::trim(content);
    const char *attribute = mxmlElementGetAttr(element, "offset");
    auto begin = attribute ? parse<std::size_t>(attribute) : std::nullopt;
    std::size_t size = hex.size() / 2;
    if (!begin || *begin > table_size || size > table_size - *begin)
        return false;
    for (const Field &field : fields)
        if (*begin < std::size_t{field.offset} + field.width && field.offset < *begin + size)
            return false;
    return read_hex(hex, table.data() + *begin, size);
}

bool read_element(mxml_node_t *element, Table &table, std::set<std::string_view> &seen) {
    std::string_view name = mxmlGetElement(element);
    if (name == bytes_name)
        return read_bytes(element, table);
    const auto *field = std::ranges::find(fields, name, &Field::name);
    return field != fields.end() && seen.insert(field->name).second &&
           read_field(element, *field, table);
}

bool read_document(std::string text, Table &table) {
    std::string error;
    Tree handle(xmltree::load(std::move(text), error));
    mxml_node_t *root = handle ? mxmlGetFirstChild(handle.get()) : nullptr;
    while (root && !xmltree::is_element(root))
        root = mxmlGetNextSibling(root);
    if (!root || std::strcmp(mxmlGetElement(root), root_name) != 0)
        return false;
    std::set<std::string_view> seen;
    for (mxml_node_t *child = mxmlGetFirstChild(root); child; child = mxmlGetNextSibling(child))
        if (xmltree::is_element(child) && !read_element(child, table, seen))
            return false;
    return true;
}

} // namespace
} // namespace varn::nvram

using varn::nvram::Table;

int32_t wrapper_nvram2xmlformat(const void *table, const char *path) {
    if (!table || !path)
        return -1;
    try {
        Table copy;
        std::memcpy(copy.data(), table, copy.size());
        std::string text = varn::nvram::document_of(copy);
        return !text.empty() && varn::xmltree::replace_file(path, text) ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

int32_t wrapper_xml2nvramformat(const char *xml, void *table) {
    if (!xml || !table)
        return -1;
    try {
        Table copy;
        std::memcpy(copy.data(), table, copy.size());
        if (!varn::nvram::read_document(xml, copy))
            return -1;
        std::memcpy(table, copy.data(), copy.size());
        return 0;
    } catch (...) {
        return -1;
    }
}
