#include "device/web/document_format.h"

#include <expat.h>
#include <memory>

namespace varn::web {
namespace {

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

/// The two words of a settings document, read from the children of its root.
struct FormatElements {
    std::string plain;
    std::string extended;

    int depth = 0;
    std::string *reading = nullptr; ///< the element that the parser is in

    static void on_start(void *self, const char *name, const char **) {
        static_cast<FormatElements *>(self)->start(name);
    }
    static void on_end(void *self, const char *) {
        auto &elements = *static_cast<FormatElements *>(self);
        if (--elements.depth == 1)
            elements.reading = nullptr;
    }
    static void on_text(void *self, const char *text, int size) {
        if (std::string *reading = static_cast<FormatElements *>(self)->reading)
            reading->append(text, static_cast<std::size_t>(size));
    }

    void start(std::string_view name) {
        if (++depth != 2)
            return;
        name.remove_prefix(name.find(':') + 1); // npos + 1 is 0
        if (name == "DocumentFormat")
            reading = &plain;
        else if (name == "DocumentFormatExt")
            reading = &extended;
        if (reading)
            reading->clear(); // the last one counts
    }
};

struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

/// Of a document that is broken, what comes before the break.
FormatElements read_elements(const std::string &xml) {
    FormatElements elements;
    const std::unique_ptr<XML_ParserStruct, FreeParser> parser(XML_ParserCreate(nullptr));
    if (!parser)
        return elements;
    XML_SetUserData(parser.get(), &elements);
    XML_SetElementHandler(parser.get(), FormatElements::on_start, FormatElements::on_end);
    XML_SetCharacterDataHandler(parser.get(), FormatElements::on_text);
    XML_Parse(parser.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
    return elements;
}

} // namespace

DocumentFormat requested_format(const std::string &settings_xml) {
    const FormatElements elements = read_elements(settings_xml);
    if (elements.extended.empty())
        return elements.plain == media_type(DocumentFormat::pdf) ? DocumentFormat::pdf
                                                                 : DocumentFormat::jpeg;
    for (const FormatWord &word : words)
        if (word.type == elements.extended)
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
