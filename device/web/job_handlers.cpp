#include "device/web/handlers.h"

#include "varn/jobs.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>

namespace varn::web {
namespace {

using XmlDocument = std::unique_ptr<xmlDoc, void (*)(xmlDoc *)>;

XmlDocument parse_xml(std::string_view text) {
    return {xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                          XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
            xmlFreeDoc};
}

bool is_named(const xmlNode *node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char *>(node->name);
}

/// URL of a j:Job, without the white space around it.
std::string url_of(xmlNode *job) {
    for (xmlNode *child = job->children; child; child = child->next) {
        if (!is_named(child, "JobUrl"))
            continue;
        const std::unique_ptr<xmlChar, decltype(xmlFree)> content(xmlNodeGetContent(child),
                                                                  xmlFree);
        const std::string text = content ? reinterpret_cast<const char *>(content.get()) : "";
        const auto begin = text.find_first_not_of(" \t\r\n");
        return begin == std::string::npos
                   ? ""
                   : text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
    }
    return {};
}

/// The job with that URL in a list, null when there is none.
xmlNode *find_job(xmlDoc *list, std::string_view url) {
    xmlNode *root = list ? xmlDocGetRootElement(list) : nullptr;
    for (xmlNode *job = root ? root->children : nullptr; job; job = job->next)
        if (is_named(job, "Job") && url_of(job) == url)
            return job;
    return nullptr;
}

XmlDocument read_list() {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const bool read = VARN_GetJobList(&buffer, &length) == 0;
    const Document list(buffer, length);
    return parse_xml(read ? list.text() : "");
}

/// The slot of the queue that holds a job; none when it holds no such job any more.
std::optional<std::int32_t> slot_of(std::string_view url) {
    for (std::int32_t slot = VARN_JOB_SLOTS; slot-- > 0;) {
        const std::int32_t id = gp_jobdesc[slot].jobId;
        if (id != 0 && "/Jobs/JobList/" + std::to_string(id) == url)
            return slot;
    }
    return std::nullopt;
}

/// A job of the list as a document of its own.
Response job_of_list(xmlNode *job) {
    xmlNode *copy = xmlDocCopyNode(job, job->doc, 1);
    if (!copy)
        return error_response(500, "");
    xmlDoc *document = job->doc;
    xmlReconciliateNs(document, copy);
    xmlFreeNode(xmlDocSetRootElement(document, copy)); // takes the place of the list
    xmlChar *text = nullptr;
    int size = 0;
    xmlDocDumpMemory(document, &text, &size);
    Response response;
    response.text.assign(reinterpret_cast<const char *>(text), static_cast<std::size_t>(size));
    xmlFree(text);
    return response;
}

} // namespace

/// The queue forgets all but two of the older jobs at the twenty-first, while the list goes on to
/// name them.
Response get_job(Device &, const Request &request) {
    if (const auto slot = slot_of(request.path)) {
        char *buffer = nullptr;
        std::uint32_t length = 0;
        if (VARN_Get_SpecificJobXML(&buffer, &length, *slot) == 0)
            return document_response(buffer, length);
        std::free(buffer);
        return error_response(500, "");
    }
    const XmlDocument list = read_list();
    xmlNode *job = find_job(list.get(), request.path);
    return job ? job_of_list(job) : error_response(404, "no such job");
}

Response put_job(Device &, const Request &request) {
    const XmlDocument body = parse_xml(request.body);
    xmlNode *job = body ? xmlDocGetRootElement(body.get()) : nullptr;
    const std::string url = job && is_named(job, "Job") ? url_of(job) : "";
    if (url.empty())
        return error_response(400, "not a job with its URL");
    if (!request.ids.empty() && url != request.path)
        return error_response(409, "the document names another job");
    if (!find_job(read_list().get(), url))
        return error_response(404, "no such job");
    if (VARN_Put_SpecificJobXML(request.body.c_str()) != 0)
        return error_response(400, "not a document of this resource");
    return {};
}

} // namespace varn::web
