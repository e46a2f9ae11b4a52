/// Mini-XML's loader for texts that come from outside.
#pragma once

#include <memory>
#include <mxml.h>

namespace varn {

using XmlText = std::unique_ptr<mxml_node_t, decltype(&mxmlDelete)>;

/// Loads a text as mxmlLoadString does; null for one that cannot be parsed.
///
/// The loader loses the root element of a text that breaks off inside of that element's tag. Below
/// a parent no element is lost, but there texts without a root and with several would be taken:
/// a text has to pass both ways.
inline XmlText load_xml_text(const char *text, mxml_load_cb_t types) {
    const XmlText parent(mxmlNewElement(MXML_NO_PARENT, "text"), mxmlDelete);
    if (parent == nullptr || mxmlLoadString(parent.get(), text, types) == nullptr)
        return {nullptr, mxmlDelete};
    return {mxmlLoadString(MXML_NO_PARENT, text, types), mxmlDelete};
}

} // namespace varn
