#include "platform/cfg/source.h"
#include "platform/cfg/tree.h"

#include <expat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

namespace varn::xmltree {
namespace {

constexpr char cdata_prefix[] = "![CDATA[";

struct Writer {
    const Document &document;
    std::string &out;
    bool composed = false; // something was not copied from the source
};

/// The document of the tree that `node` is in; an empty one for a tree of the caller's own.
const Document &document_of(mxml_node_t *node) {
    static const Document none;
    while (mxml_node_t *parent = mxmlGetParent(node))
        node = parent;
    const void *document = is_handle(node) ? mxmlGetUserData(node) : nullptr;
    return document ? *static_cast<const Document *>(document) : none;
}

/// The form of a node whose value is still that of the source. A node that was moved here from
/// another tree still points at its form there, which may be gone: only a pointer to one of this
/// document's forms, and to the one of this very node, is followed.
const Form *form_of(const Document &document, mxml_node_t *node) {
    if (document.forms.empty())
        return nullptr;
    const Form *first = document.forms.data();
    const Form *form = first;
    if (!is_handle(node)) {
        auto address = reinterpret_cast<std::uintptr_t>(mxmlGetUserData(node));
        auto base = reinterpret_cast<std::uintptr_t>(first);
        std::uintptr_t offset = address - base;
        if (address < base || offset >= document.forms.size() * sizeof(Form) ||
            offset % sizeof(Form) != 0)
            return nullptr;
        form = first + offset / sizeof(Form);
    }
    return form->node == node && form->digest == digest(node) ? form : nullptr;
}

std::string_view written(const Writer &writer, Span span) {
    return std::string_view(writer.document.source).substr(span.begin, span.size);
}

void append_escaped(std::string &out, std::string_view text, bool attribute) {
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '\r':
            out += "&#13;";
            break; // a bare one would be read back as a line feed
        case '"':
        case '\t':
        case '\n':
            if (attribute)
                out += c == '"' ? "&quot;" : c == '\t' ? "&#9;" : "&#10;";
            else
                out += c;
            break;
        default:
            out += c;
        }
    }
}

bool is_special(mxml_node_t *node) {
    const char *name = mxmlGetElement(node);
    return name && (*name == '!' || *name == '?');
}

void compose_special(std::string &out, mxml_node_t *node) {
    const char *cdata = mxmlGetCDATA(node);
    out += '<';
    out += cdata ? std::string(cdata_prefix) + cdata + "]]" : mxmlGetElement(node);
    out += '>';
}

void compose_start_tag(std::string &out, mxml_node_t *element) {
    out += '<';
    out += mxmlGetElement(element);
    for (int i = 0, count = mxmlElementGetAttrCount(element); i < count; ++i) {
        const char *name = nullptr;
        const char *value = mxmlElementGetAttrByIndex(element, i, &name);
        out += ' ';
        out += name;
        out += "=\"";
        append_escaped(out, value ? value : "", true);
        out += '"';
    }
    out += mxmlGetFirstChild(element) ? ">" : "/>";
}

void open_node(Writer &writer, mxml_node_t *node) {
    if (const Form *form = form_of(writer.document, node)) {
        std::string_view text = written(writer, form->span);
        // An empty element that has got children since cannot end in its start tag any more.
        if (is_element(node) && form->end_tag.size == 0 && mxmlGetFirstChild(node)) {
            text = trim(text.substr(0, text.size() - 2));
            writer.out.append(text).push_back('>');
            writer.composed = true;
        } else {
            writer.out += text;
        }
        return;
    }
    writer.composed = true;
    if (is_text(node) && !is_special(node))
        append_escaped(writer.out, own_text(node), false);
    else if (is_special(node))
        compose_special(writer.out, node);
    else if (is_element(node))
        compose_start_tag(writer.out, node);
}

void close_node(Writer &writer, mxml_node_t *node) {
    if (!is_element(node))
        return;
    const Form *form = form_of(writer.document, node);
    if (form && form->end_tag.size > 0)
        writer.out += written(writer, form->end_tag);
    else if (mxmlGetFirstChild(node))
        writer.out.append("</").append(mxmlGetElement(node)).push_back('>');
}

void write_below(Writer &writer, mxml_node_t *top) {
    mxml_node_t *node = top;
    open_node(writer, node);
    for (;;) {
        if (mxml_node_t *child = mxmlGetFirstChild(node)) {
            node = child;
        } else {
            for (close_node(writer, node); node != top; close_node(writer, node)) {
                if (mxml_node_t *next = mxmlGetNextSibling(node)) {
                    node = next;
                    break;
                }
                node = mxmlGetParent(node);
            }
            if (node == top)
                return;
        }
        open_node(writer, node);
    }
}

bool has_root(mxml_node_t *top) {
    if (!is_handle(top))
        return true;
    mxml_node_t *child = mxmlGetFirstChild(top);
    while (child && !is_element(child))
        child = mxmlGetNextSibling(child);
    return child;
}

/// `rooted` false is for a document that is an XML declaration and nothing else.
bool is_well_formed(std::string_view text, bool rooted) {
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate("UTF-8"), XML_ParserFree);
    return parser && (XML_Parse(parser.get(), text.data(), static_cast<int>(text.size()),
                                XML_TRUE) == XML_STATUS_OK ||
                      (!rooted && XML_GetErrorCode(parser.get()) == XML_ERROR_NO_ELEMENTS));
}

} // namespace

bool write(mxml_node_t *top, std::string &out) {
    Writer writer{.document = document_of(top), .out = out};
    out.reserve(writer.document.source.size() + 256);
    write_below(writer, top);
    if (writer.document.forms.empty() && (out.empty() || out.back() != '\n'))
        out += '\n';
    return !writer.composed ||
           (out.size() <= max_source_bytes && is_well_formed(out, has_root(top)));
}

bool is_handle(mxml_node_t *node) {
    const char *name = node && !mxmlGetParent(node) ? mxmlGetElement(node) : nullptr;
    return name && std::strncmp(name, "?xml", 4) == 0 && std::strchr(" \t\r\n", name[4]);
}

bool is_element(mxml_node_t *node) {
    return node && mxmlGetType(node) == MXML_ELEMENT && !is_special(node);
}

bool is_text(mxml_node_t *node) {
    return node && (mxmlGetType(node) != MXML_ELEMENT || mxmlGetCDATA(node));
}

std::string own_text(mxml_node_t *text_node) {
    const char *text = nullptr;
    switch (mxmlGetType(text_node)) {
    case MXML_ELEMENT:
        text = mxmlGetCDATA(text_node);
        break;
    case MXML_OPAQUE:
        text = mxmlGetOpaque(text_node);
        break;
    case MXML_TEXT: {
        int space_before = 0;
        text = mxmlGetText(text_node, &space_before);
        return (space_before ? " " : "") + std::string(text ? text : "");
    }
    case MXML_INTEGER:
        return std::to_string(mxmlGetInteger(text_node));
    case MXML_REAL: {
        char number[32];
        std::snprintf(number, sizeof number, "%.17g", mxmlGetReal(text_node));
        return number;
    }
    default:
        break; // custom data has no text
    }
    return text ? text : "";
}

std::string text_of(mxml_node_t *element) {
    std::string text;
    for (mxml_node_t *child = mxmlGetFirstChild(element); child; child = mxmlGetNextSibling(child))
        if (is_text(child))
            text += own_text(child);
    return text;
}

bool is_xml_text(std::string_view text) {
    bool plain = std::ranges::all_of(
        text, [](char c) { return (c >= ' ' && c <= '~') || c == '\n' || c == '\t' || c == '\r'; });
    if (plain)
        return true;
    std::string probe = "<t>";
    append_escaped(probe, text, false);
    return is_well_formed(probe + "</t>", true);
}

std::string_view trim(std::string_view text) {
    constexpr char white_space[] = " \t\r\n";
    std::size_t begin = text.find_first_not_of(white_space);
    if (begin == std::string_view::npos)
        return text.substr(0, 0);
    return text.substr(begin, text.find_last_not_of(white_space) - begin + 1);
}

} // namespace varn::xmltree
