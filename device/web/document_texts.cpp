#include "device/web/document_texts.h"

#include <expat.h>
#include <memory>
#include <vector>

namespace varn::web {
namespace {

struct Reader {
    DocumentTexts texts;
    std::string root;
    std::vector<std::string *> open; ///< texts of the open elements; null for one that came before

    static void on_start(void *self, const char *name, const char **) {
        static_cast<Reader *>(self)->start(name);
    }
    static void on_end(void *self, const char *) { static_cast<Reader *>(self)->open.pop_back(); }
    static void on_text(void *self, const char *text, int size) {
        if (std::string *current = static_cast<Reader *>(self)->open.back())
            current->append(text, static_cast<std::size_t>(size));
    }

    void start(std::string_view name) {
        name.remove_prefix(name.find(':') + 1); // npos + 1 is 0
        if (open.empty())
            root = name;
        const auto [row, is_first] = texts.try_emplace(std::string(name));
        open.push_back(is_first ? &row->second : nullptr);
    }
};

struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

void trim(std::string &text) {
    constexpr char white[] = " \t\r\n";
    text.erase(0, std::min(text.find_first_not_of(white), text.size()));
    text.erase(text.find_last_not_of(white) + 1);
}

} // namespace

std::optional<DocumentTexts> document_texts(std::string_view xml, std::string_view root) {
    Reader reader;
    const std::unique_ptr<XML_ParserStruct, FreeParser> parser(XML_ParserCreate(nullptr));
    if (!parser)
        return std::nullopt;
    XML_SetUserData(parser.get(), &reader);
    XML_SetElementHandler(parser.get(), Reader::on_start, Reader::on_end);
    XML_SetCharacterDataHandler(parser.get(), Reader::on_text);
    const auto size = static_cast<int>(xml.size());
    if (XML_Parse(parser.get(), xml.data(), size, XML_TRUE) != XML_STATUS_OK || reader.root != root)
        return std::nullopt;
    for (auto &[name, text] : reader.texts)
        trim(text);
    return std::move(reader.texts);
}

} // namespace varn::web
