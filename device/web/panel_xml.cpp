#include "device/web/panel_xml.h"

#include "device/web/device.h"
#include "device/web/resource_map.h"

#include <algorithm>

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

XmlTree document_of_resource(Device &device, std::string_view path) {
    const auto row = std::ranges::find_if(resource_map(), [&](const Resource &each) {
        return each.method == Method::get && each.path == path;
    });
    Request request;
    request.path = path;
    ImageSink none;
    const SharedResponse response =
        row == resource_map().end() ? nullptr : device.answer(*row, request, none);
    if (!response || response->status != 200)
        return {nullptr, mxmlDelete};
    return load_xml(std::string(response->body()));
}

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

mxml_node_t *entry_of_job(mxml_node_t *status, const std::string &uuid) {
    for (mxml_node_t *entry : elements(status, "JobInfo"))
        if (strcasecmp(text_in(entry, "JobUuid").c_str(), uuid.c_str()) == 0)
            return entry;
    return nullptr;
}

} // namespace varn::web
