#include "iomgmt/fill.h"

namespace varn::net {

xsd__hexBinary *binary(Document &document, const std::string &value) {
    auto *result = document.make<xsd__hexBinary>();
    if (result != nullptr) {
        result->__ptr = reinterpret_cast<unsigned char *>(document.text(value.c_str()));
        result->__size = static_cast<int>(value.size());
    }
    return result;
}

const SecurityWord *last_match(std::span<const SecurityWord> words, const std::string &security) {
    const SecurityWord *match = nullptr;
    for (const SecurityWord &word : words)
        if (security.find(word.text) != std::string::npos)
            match = &word;
    return match;
}

} // namespace varn::net
