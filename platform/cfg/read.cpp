#include "platform/cfg/source.h"
#include "platform/cfg/tree.h"

#include <expat.h>
#include <strings.h>

#include <algorithm>
#include <memory>

namespace varn::xmltree {
namespace {

constexpr char declaration_utf8[] = "?xml version=\"1.0\" encoding=\"UTF-8\"?";

struct Loader {
    XML_Parser parser;
    Document *document;
    mxml_node_t *handle;
    mxml_node_t *parent;           // of the next node
    std::vector<std::size_t> open; // forms of the elements that are open
    std::string text;              // decoded text since `cursor`
    std::size_t cursor = 0;        // end of the last piece that has a node
    bool declared = false;
    bool converted = false; // the source is not UTF-8: its bytes are of no use for writing
    const char *refusal = nullptr;
};

void refuse(Loader &loader, const char *why) {
    if (!loader.refusal)
        loader.refusal = why;
    XML_StopParser(loader.parser, XML_FALSE);
}

std::size_t event_begin(const Loader &loader) {
    return static_cast<std::size_t>(XML_GetCurrentByteIndex(loader.parser));
}
std::size_t event_end(const Loader &loader) {
    return event_begin(loader) + static_cast<std::size_t>(XML_GetCurrentByteCount(loader.parser));
}

Span span_between(std::size_t begin, std::size_t end) {
    return {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin)};
}

/// Takes a new node that was written from `begin` to `end`.
void take(Loader &loader, mxml_node_t *node, std::size_t begin, std::size_t end) {
    loader.cursor = end;
    if (!node) {
        refuse(loader, "out of memory");
        return;
    }
    loader.document->forms.push_back({node, digest(node), span_between(begin, end), {}});
}

/// Makes a node of the text between the last node and `end`.
void flush_text(Loader &loader, std::size_t end) {
    if (end <= loader.cursor)
        return;
    if (loader.open.empty()) { // outside the root there is only white space, which is not reported
        const std::string &source = loader.document->source;
        loader.text = loader.converted ? "\n" : source.substr(loader.cursor, end - loader.cursor);
        std::erase(loader.text, '\r');
    }
    take(loader, mxmlNewOpaque(loader.parent, loader.text.c_str()), loader.cursor, end);
    loader.text.clear();
}

/// Runs one step of the loader; nothing may be thrown through Expat.
template <typename Step>
void guarded(void *user_data, Step step) noexcept {
    auto &loader = *static_cast<Loader *>(user_data);
    if (loader.refusal) // Expat reports the end of an empty tag even after it was stopped
        return;
    try {
        step(loader);
    } catch (...) {
        refuse(loader, "out of memory");
    }
}

void on_declaration(void *user_data, const XML_Char *, const XML_Char *encoding, int) {
    guarded(user_data, [&](Loader &loader) {
        loader.declared = true;
        if (encoding && strcasecmp(encoding, "UTF-8") != 0)
            loader.converted = true;
        std::size_t begin = event_begin(loader), end = event_end(loader);
        if (!loader.converted) // without its brackets
            mxmlSetElement(loader.handle,
                           loader.document->source.substr(begin + 1, end - begin - 2).c_str());
        Form &form = loader.document->forms.front();
        form.digest = digest(loader.handle);
        form.span = span_between(0, end); // from 0: a byte order mark goes with the declaration
        loader.cursor = end;
    });
}

void on_start(void *user_data, const XML_Char *name, const XML_Char **attributes) {
    guarded(user_data, [&](Loader &loader) {
        std::size_t begin = event_begin(loader), end = event_end(loader);
        flush_text(loader, begin);
        if (loader.open.size() == max_depth)
            return refuse(loader, "elements nested too deeply");
        mxml_node_t *element = mxmlNewElement(loader.parent, name);
        std::size_t count = 0;
        for (; element && attributes[0]; attributes += 2) {
            if (++count > max_attributes)
                return refuse(loader, "too many attributes");
            mxmlElementSetAttr(element, attributes[0], attributes[1]);
        }
        loader.open.push_back(loader.document->forms.size());
        take(loader, element, begin, end);
        loader.parent = element;
    });
}

void on_end(void *user_data, const XML_Char *) {
    guarded(user_data, [](Loader &loader) {
        std::size_t begin = event_begin(loader), end = event_end(loader);
        flush_text(loader, begin);
        loader.document->forms[loader.open.back()].end_tag = span_between(begin, end);
        loader.open.pop_back();
        loader.cursor = end;
        loader.parent = mxmlGetParent(loader.parent);
    });
}

void on_text(void *user_data, const XML_Char *text, int length) {
    guarded(user_data,
            [&](Loader &loader) { loader.text.append(text, static_cast<std::size_t>(length)); });
}

void on_cdata_start(void *user_data) {
    guarded(user_data, [](Loader &loader) { flush_text(loader, event_begin(loader)); });
}

void on_cdata_end(void *user_data) {
    guarded(user_data, [](Loader &loader) {
        mxml_node_t *section = mxmlNewCDATA(loader.parent, loader.text.c_str());
        loader.text.clear();
        take(loader, section, loader.cursor, event_end(loader));
    });
}

void add_special(Loader &loader, const std::string &name) {
    flush_text(loader, event_begin(loader));
    take(loader, mxmlNewElement(loader.parent, name.c_str()), event_begin(loader),
         event_end(loader));
}

void on_comment(void *user_data, const XML_Char *text) {
    guarded(user_data,
            [&](Loader &loader) { add_special(loader, "!--" + std::string(text) + "--"); });
}

void on_instruction(void *user_data, const XML_Char *target, const XML_Char *text) {
    guarded(user_data, [&](Loader &loader) {
        add_special(loader, "?" + std::string(target) + (*text ? " " : "") + text + "?");
    });
}

// Entities could make a small file a huge tree, and nothing that a device stores needs them.
void on_doctype(void *user_data, const XML_Char *, const XML_Char *, const XML_Char *, int) {
    guarded(user_data, [](Loader &loader) { refuse(loader, "document type declaration"); });
}

void parse(Loader &loader) {
    XML_SetUserData(loader.parser, &loader);
    XML_SetXmlDeclHandler(loader.parser, on_declaration);
    XML_SetElementHandler(loader.parser, on_start, on_end);
    XML_SetCharacterDataHandler(loader.parser, on_text);
    XML_SetCdataSectionHandler(loader.parser, on_cdata_start, on_cdata_end);
    XML_SetCommentHandler(loader.parser, on_comment);
    XML_SetProcessingInstructionHandler(loader.parser, on_instruction);
    XML_SetStartDoctypeDeclHandler(loader.parser, on_doctype);
    const std::string &source = loader.document->source;
    if (XML_Parse(loader.parser, source.data(), static_cast<int>(source.size()), XML_TRUE) ==
        XML_STATUS_OK) {
        guarded(&loader, [&](Loader &same) { flush_text(same, source.size()); });
        return;
    }
    XML_Error code = XML_GetErrorCode(loader.parser);
    // A new file, with only the declaration yet. Expat has the same code for a root without an end.
    if (code == XML_ERROR_NO_ELEMENTS && loader.declared && loader.open.empty())
        guarded(&loader, [&](Loader &same) { flush_text(same, source.size()); });
    else if (!loader.refusal)
        loader.refusal = XML_ErrorString(code);
}

/// True for UTF-16, which Expat recognises with and without a byte order mark.
bool is_utf16(std::string_view source) {
    return source.starts_with("\xFE\xFF") || source.starts_with("\xFF\xFE") ||
           source.substr(0, 2).find('\0') != std::string_view::npos;
}

struct ReleaseParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
struct ReleaseTree {
    void operator()(mxml_node_t *node) const { mxmlDelete(node); }
};

} // namespace

std::uint64_t digest(mxml_node_t *node) {
    constexpr std::hash<std::string_view> hash;
    if (mxmlGetType(node) == MXML_OPAQUE)
        return hash(mxmlGetOpaque(node));
    if (mxmlGetType(node) != MXML_ELEMENT)
        return 0;
    std::uint64_t sum = hash(mxmlGetElement(node));
    for (int i = 0, count = mxmlElementGetAttrCount(node); i < count; ++i) {
        const char *name = nullptr;
        const char *value = mxmlElementGetAttrByIndex(node, i, &name);
        sum = sum * 31 + hash(name);
        sum = sum * 31 + hash(value ? value : "");
    }
    return sum;
}

mxml_node_t *load(std::string source, std::string &error) {
    if (source.size() > max_source_bytes) {
        error = "larger than " + std::to_string(max_source_bytes) + " bytes";
        return nullptr;
    }
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, ReleaseParser> parser(
        XML_ParserCreate(nullptr));
    std::unique_ptr<mxml_node_t, ReleaseTree> handle(
        mxmlNewElement(MXML_NO_PARENT, declaration_utf8));
    auto document = std::make_unique<Document>();
    if (!parser || !handle) {
        error = "out of memory";
        return nullptr;
    }
    document->source = std::move(source);
    Loader loader{.parser = parser.get(),
                  .document = document.get(),
                  .handle = handle.get(),
                  .parent = handle.get(),
                  .open = {},
                  .text = {}};
    if (document->source.starts_with("\xEF\xBB\xBF"))
        loader.cursor = 3;
    loader.converted = is_utf16(document->source);
    document->forms.push_back(
        {handle.get(), digest(handle.get()), span_between(0, loader.cursor), {}});
    parse(loader);
    if (loader.refusal) {
        error = "line " + std::to_string(XML_GetCurrentLineNumber(parser.get())) + ": " +
                loader.refusal;
        return nullptr;
    }
    if (loader.converted)
        *document = {};
    for (const Form &form : document->forms)
        mxmlSetUserData(const_cast<mxml_node_t *>(form.node), const_cast<Form *>(&form));
    mxmlSetUserData(handle.get(), document.release());
    return handle.release();
}

void release(mxml_node_t *handle) {
    if (!handle)
        return;
    if (is_handle(handle))
        delete static_cast<Document *>(mxmlGetUserData(handle));
    mxmlDelete(handle);
}

} // namespace varn::xmltree
