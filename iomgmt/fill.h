/// What the network documents have in common: how values of the status block become elements, and
/// how a request is acted on.
#pragma once

#include "frame/document.h"
#include "iomgmt/status_block.h"

#include <span>
#include <string>

namespace varn::net {

inline char *text(Document &document, const StatusBlock &block, Text field) {
    return document.text(block.text(field).c_str());
}

/// A word of the block as a decimal text, or as a number, which may be negative: a signal in dBm.
inline char *decimal(Document &document, uint32_t word) {
    return document.text(std::to_string(word).c_str());
}
inline int *number(Document &document, uint32_t word) {
    return document.value(static_cast<int>(word));
}

inline xsd__boolean *boolean(Document &document, bool value) {
    return document.value(value ? xsd__boolean__true_ : xsd__boolean__false_);
}
inline dd__EnableDisable *enabled(Document &document, bool value) {
    return document.value(value ? dd__EnableDisable__enabled : dd__EnableDisable__disabled);
}

/// The characters of a text as a binary value; "" is a value of size 0.
xsd__hexBinary *binary(Document &document, const std::string &value);

/// A security text of the net service and what it means in a document.
struct SecurityWord {
    const char *text;
    enum wifi__EncryptionType encryption;
    enum wifi__AuthenticationMode authentication;
};
/// The last row whose text the service's text holds; null for none. Rows go from plain to special:
/// "WPA-PSK+WPA2-PSK" holds the two before it.
const SecurityWord *last_match(std::span<const SecurityWord> words, const std::string &security);

/// Acts on a request as far as it could be read: the network resources never refuse a document.
/// What follows a fault in it is absent, and an array may have its count and no elements. The
/// reader is the call's own: a profile may hold its caller for eight seconds, and no other request
/// is to wait for that. Returns 0; -1 for null.
template <typename Root, typename Apply>
int32_t act_on_document(const char *xml, Apply apply) {
    if (xml == nullptr)
        return -1;
    Document document(wide_put);
    Root root;
    document.read(xml, strlen(xml), root);
    apply(root);
    return 0;
}

} // namespace varn::net
