#include "device/client/status.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <string_view>

namespace varn::client {
namespace {

struct FreeDocument {
    void operator()(xmlDoc *document) const { xmlFreeDoc(document); }
};

std::string_view name_of(const xmlNode *node) { return reinterpret_cast<const char *>(node->name); }

/// First element of a local name below `node`, in document order.
const xmlNode *find(const xmlNode *node, std::string_view name) {
    for (const xmlNode *child = node ? node->children : nullptr; child; child = child->next) {
        if (child->type != XML_ELEMENT_NODE)
            continue;
        if (name_of(child) == name)
            return child;
        if (const xmlNode *deeper = find(child, name))
            return deeper;
    }
    return nullptr;
}

std::string text_of(const xmlNode *node) {
    if (!node)
        return {};
    xmlChar *content = xmlNodeGetContent(const_cast<xmlNode *>(node));
    const std::string text = content ? reinterpret_cast<char *>(content) : "";
    xmlFree(content);
    const auto begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

const xmlNode *find_job(const xmlNode *root, const std::string &uuid) {
    const xmlNode *jobs = find(root, "Jobs");
    for (const xmlNode *job = jobs ? jobs->children : nullptr; job; job = job->next) {
        if (job->type != XML_ELEMENT_NODE || name_of(job) != "JobInfo")
            continue;
        // Some devices write "urn:uuid:" in front.
        const std::string text = text_of(find(job, "JobUuid"));
        if (text.size() >= uuid.size() && text.substr(text.size() - uuid.size()) == uuid)
            return job;
    }
    return nullptr;
}

/// State of the scanner itself: a child of the root, unlike the states of its jobs.
const xmlNode *find_child(const xmlNode *root, std::string_view name) {
    for (const xmlNode *child = root->children; child; child = child->next)
        if (child->type == XML_ELEMENT_NODE && name_of(child) == name)
            return child;
    return nullptr;
}

} // namespace

JobStatus parse_status(const std::string &xml, const std::string &job_uuid) {
    const std::unique_ptr<xmlDoc, FreeDocument> document(
        xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "status.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    const xmlNode *root = document ? xmlDocGetRootElement(document.get()) : nullptr;
    if (!root)
        return {};
    const xmlNode *job = job_uuid.empty() ? nullptr : find_job(root, job_uuid);
    JobStatus status;
    status.state = text_of(find(job, "JobState"));
    status.reason = text_of(find(job, "JobStateReason"));
    status.scanner_state = text_of(find_child(root, "State"));
    status.feeder_state = text_of(find_child(root, "AdfState"));
    return status;
}

} // namespace varn::client
