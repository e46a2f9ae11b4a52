#include "device/web/panel_xml.h"

namespace varn::web {
namespace {

bool is_named(mxml_node_t *node, std::string_view name) {
    const char *own = mxmlGetElement(node);
    if (!own)
        return false;
    const std::string_view full = own;
    return full.substr(full.find(':') + 1) == name;
}

} // namespace

XmlTree load_xml(const std::string &text) {
    return {mxmlLoadString(nullptr, text.c_str(), MXML_OPAQUE_CALLBACK), mxmlDelete};
}

std::vector<mxml_node_t *> elements(mxml_node_t *top, std::string_view name) {
    std::vector<mxml_node_t *> found;
    for (mxml_node_t *node = top; node; node = mxmlWalkNext(node, top, MXML_DESCEND))
        if (is_named(node, name))
            found.push_back(node);
    return found;
}

std::string text_in(mxml_node_t *top, std::string_view name) {
    const auto found = elements(top, name);
    const char *text = found.empty() ? nullptr : mxmlGetOpaque(found.front());
    return text ? text : "";
}

} // namespace varn::web
