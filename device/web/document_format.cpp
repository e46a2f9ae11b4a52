#include "device/web/document_format.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>

namespace varn::web {
namespace {

struct FreeDocument {
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
};

struct FormatWord {
    std::string_view type;
    DocumentFormat format;
};
constexpr FormatWord words[] = {
    {"image/jpeg", DocumentFormat::jpeg},
    {"image/tiff", DocumentFormat::tiff},
    {"application/octet-stream", DocumentFormat::raw},
    {"application/pdf", DocumentFormat::pdf},
};

std::string child_text(const xmlNode *root, const char *name) {
    std::string text;
    for (const xmlNode *child = root->children; child; child = child->next) {
        if (child->type != XML_ELEMENT_NODE ||
            !xmlStrEqual(child->name, reinterpret_cast<const xmlChar *>(name)))
            continue;
        xmlChar *content = xmlNodeGetContent(child);
        if (content)
            text = reinterpret_cast<const char *>(content);
        xmlFree(content);
    }
    return text;
}

} // namespace

DocumentFormat requested_format(const std::string &settings_xml) {
    const std::unique_ptr<xmlDoc, FreeDocument> document(xmlReadMemory(
        settings_xml.data(), static_cast<int>(settings_xml.size()), "settings.xml", nullptr,
        XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    const xmlNode *root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!root)
        return DocumentFormat::jpeg;
    const std::string extended = child_text(root, "DocumentFormatExt");
    if (extended.empty())
        return child_text(root, "DocumentFormat") == media_type(DocumentFormat::pdf)
                   ? DocumentFormat::pdf
                   : DocumentFormat::jpeg;
    for (const FormatWord &word : words)
        if (word.type == extended)
            return word.format;
    return DocumentFormat::jpeg;
}

int engine_format(DocumentFormat format) {
    switch (format) {
    case DocumentFormat::tiff:
        return 1;
    case DocumentFormat::raw:
        return 2;
    case DocumentFormat::jpeg:
    case DocumentFormat::pdf:
        break;
    }
    return 0;
}

std::string_view media_type(DocumentFormat format) {
    for (const FormatWord &word : words)
        if (word.format == format)
            return word.type;
    return "application/octet-stream";
}

} // namespace varn::web
