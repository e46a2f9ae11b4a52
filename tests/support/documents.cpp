#include "tests/support/documents.h"

#include <cstdarg>
#include <cstdio>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>
#include <memory>
#include <sstream>
#include <utility>

namespace varn::test {

std::vector<std::string> texts(std::string_view document, std::string_view tag) {
    std::vector<std::string> found;
    const std::string open = "<" + std::string(tag);
    const std::string close = "</" + std::string(tag) + ">";
    for (size_t at = document.find(open); at != document.npos; at = document.find(open, at)) {
        at += open.size();
        if (std::string_view("> /").find(document[at]) == std::string_view::npos)
            continue; // a longer name
        const size_t start = document.find('>', at) + 1;
        if (document[start - 2] == '/')
            found.emplace_back();
        else
            found.emplace_back(document.substr(start, document.find(close, start) - start));
    }
    return found;
}

std::string text_of(std::string_view document, std::string_view tag) {
    const auto found = texts(document, tag);
    return found.empty() ? "absent" : found.front();
}

namespace {

__attribute__((format(printf, 2, 3))) void remember(void *out, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char line[1000];
    vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    static_cast<std::string *>(out)->append(line);
}

xmlSchema *load_schema() {
    xmlSchemaParserCtxt *parser = xmlSchemaNewParserCtxt(VARN_SCHEMA_FILE);
    xmlSchema *schema = xmlSchemaParse(parser);
    xmlSchemaFreeParserCtxt(parser);
    return schema;
}

} // namespace

std::string schema_fault(const std::string &document) {
    static xmlSchema *const schema = load_schema();
    if (schema == nullptr)
        return "no schema";
    const std::unique_ptr<xmlDoc, void (*)(xmlDoc *)> parsed(
        xmlReadMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
    if (parsed == nullptr)
        return "not well formed";
    std::string faults;
    xmlSchemaValidCtxt *validator = xmlSchemaNewValidCtxt(schema);
    xmlSchemaSetValidErrors(validator, remember, remember, &faults);
    const int result = xmlSchemaValidateDoc(validator, parsed.get());
    xmlSchemaFreeValidCtxt(validator);
    return result != 0 && faults.empty() ? "invalid" : faults;
}

namespace {

constexpr std::pair<std::string_view, std::string_view> schema_hosts[] = {
    {"//schemas.varn.example/", "//" VARN_SCHEMA_HOST_A "/"},
    {"//schemas.escl.example/", "//" VARN_SCHEMA_HOST_B "/"},
};

void replace_all(std::string &text, std::string_view from, std::string_view to) {
    for (size_t at = text.find(from); at != text.npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

std::string with_schema_hosts(std::string text) {
    for (const auto &[name, host] : schema_hosts)
        replace_all(text, name, host);
    return text;
}

std::string without_schema_hosts(std::string text) {
    for (const auto &[name, host] : schema_hosts)
        replace_all(text, host, name);
    return text;
}

namespace {

std::string expanded(std::string_view elements) {
    if (elements.find('<') != elements.npos)
        return std::string(elements);
    std::istringstream words{std::string(elements)};
    std::string xml;
    for (std::string word; words >> word;) {
        const std::string name = word.substr(0, word.find('='));
        const bool pwg = name == "InputSource" || name == "ContentType" || name == "Version";
        const std::string tag = (pwg ? "pwg:" : "scan:") + name;
        xml += "<" + tag + ">" + word.substr(name.size() + 1) + "</" + tag + ">";
    }
    return xml;
}

} // namespace

std::string scan_settings(std::string_view elements) {
    return with_schema_hosts(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<scan:ScanSettings xmlns:scan=\"http://schemas.escl.example/imaging/escl/2011/05/03\""
        " xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\">" +
        expanded(elements) + "</scan:ScanSettings>");
}

} // namespace varn::test
