#include "device/web/panel_xml.h"

#include "device/web/device.h"
#include "device/web/resource_map.h"

#include <cstdlib>

namespace varn::web {
namespace {

bool is_named(mxml_node_t *node, std::string_view name) {
    const char *own = mxmlGetElement(node);
    if (!own)
        return false;
    const std::string_view full = own;
    return full.substr(full.find(':') + 1) == name;
}

SharedResponse answer_of(Device &device, Method method, const std::string &path, std::string body) {
    Match match = find_resource(path, method);
    if (!match.resource)
        return nullptr;
    Request request;
    request.method = method;
    request.path = path;
    request.body = std::move(body);
    request.uuid = std::move(match.uuid);
    request.ids = std::move(match.ids);
    ImageSink none;
    return device.answer(*match.resource, request, none);
}

} // namespace

XmlTree document_of_resource(Device &device, const std::string &path) {
    const SharedResponse response = answer_of(device, Method::get, path, {});
    if (!response || response->status != 200)
        return {nullptr, mxmlDelete};
    return load_xml(std::string(response->body()));
}

int change_resource(Device &device, Method method, const std::string &path, std::string body) {
    const SharedResponse response = answer_of(device, method, path, std::move(body));
    return response ? response->status : 404;
}

std::string written_out(mxml_node_t *document) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        document ? mxmlSaveAllocString(document, MXML_NO_CALLBACK) : nullptr, std::free);
    return text ? text.get() : "";
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
