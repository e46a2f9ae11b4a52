/// Looking into documents for what the panel shows.
#pragma once

#include "device/web/http.h"

#include <cstring>
#include <memory>
#include <mxml.h>
#include <string>
#include <string_view>
#include <vector>

namespace varn::web {

class Device;

using XmlTree = std::unique_ptr<mxml_node_t, void (*)(mxml_node_t *)>;

/// Null when the text is no document.
XmlTree load_xml(const std::string &text);
/// The document of a resource as a GET gives it; null when it gives none. Takes the resource's
/// locks.
XmlTree document_of_resource(Device &device, const std::string &path);
/// Sends a document to a resource as a host does and gives the status. Takes the resource's locks.
int change_resource(Device &device, Method method, const std::string &path, std::string body);
/// The text of a document, as it can be sent.
std::string written_out(mxml_node_t *document);
/// Elements of that name below `top`, whatever their prefix. None when `top` is null.
std::vector<mxml_node_t *> elements(mxml_node_t *top, std::string_view name);
/// Text of the first element of that name; empty when there is none.
std::string text_in(mxml_node_t *top, std::string_view name);

/// The entry of a job in the status document; null when it has none.
mxml_node_t *entry_of_job(mxml_node_t *status, const std::string &uuid);

/// Text of a record's field, up to its width.
template <std::size_t size>
std::string text_of(const char (&field)[size]) {
    return {field, strnlen(field, size)};
}

} // namespace varn::web
