#include "frame/profile.h"

#include <algorithm>

namespace varn {
namespace {

bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

/// Length of the character that a text begins with; 0 when XML has no such character.
size_t character_length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80)
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return 0;
    uint32_t code = lead & (0x7FU >> length);
    for (const char byte : text.substr(1, length - 1)) {
        if (!continues(byte))
            return 0;
        code = code << 6 | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    constexpr uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    const bool no_character = code == 0xFFFE || code == 0xFFFF || code > 0x10FFFF;
    return code < least[length] || surrogate || no_character ? 0 : length;
}

} // namespace

std::string_view whole_characters(std::string_view text, size_t size) {
    if (text.size() <= size)
        return text;
    while (size > 0 && continues(text[size]))
        --size;
    return text.substr(0, size);
}

char *document_text(Document &document, std::string_view text) {
    char *copy = document.make<char>(static_cast<int>(text.size()) + 1);
    if (copy == nullptr)
        return nullptr;
    text.copy(copy, text.size());
    for (size_t at = 0; at < text.size();) {
        if (const auto byte = static_cast<unsigned char>(text[at]); byte >= ' ' && byte < 0x80) {
            ++at;
            continue;
        }
        const size_t length = character_length(text.substr(at));
        if (length == 0)
            copy[at] = '?';
        at += std::max<size_t>(length, 1);
    }
    return copy;
}

} // namespace varn
