#include "device/web/handlers.h"

#include "platform/xml_text.h"
#include "varn/jobs.h"

#include <algorithm>
#include <mxml.h>

namespace varn::web {
namespace {

/// Mini-XML, which the library has loaded already, saves the server a larger one.
XmlText parse_xml(const std::string &text) {
    return load_xml_text(text.c_str(), MXML_OPAQUE_CALLBACK);
}

bool is_named(mxml_node_t *node, std::string_view name) {
    const char *own = mxmlGetElement(node);
    const std::string_view full = own ? own : "";
    return own && full.substr(full.find(':') + 1) == name;
}

/// The document element, which stands below the declaration when there is one.
mxml_node_t *root_of(mxml_node_t *top) {
    const auto is_element = [](mxml_node_t *node) {
        const char *name = mxmlGetElement(node);
        return name && *name != '?' && *name != '!';
    };
    while (top && !is_element(top))
        top = mxmlWalkNext(top, nullptr, MXML_DESCEND);
    return top;
}

/// URL of a j:Job, without the white space around it.
std::string url_of(mxml_node_t *job) {
    for (mxml_node_t *child = mxmlGetFirstChild(job); child; child = mxmlGetNextSibling(child)) {
        if (!is_named(child, "JobUrl"))
            continue;
        const char *content = mxmlGetOpaque(child);
        const std::string text = content ? content : "";
        const auto begin = text.find_first_not_of(" \t\r\n");
        return begin == std::string::npos
                   ? ""
                   : text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
    }
    return {};
}

/// The job with that URL in a list, null when there is none.
mxml_node_t *find_job(mxml_node_t *list, std::string_view url) {
    mxml_node_t *root = root_of(list);
    for (mxml_node_t *job = root ? mxmlGetFirstChild(root) : nullptr; job;
         job = mxmlGetNextSibling(job))
        if (is_named(job, "Job") && url_of(job) == url)
            return job;
    return nullptr;
}

XmlText read_list() {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const bool read = VARN_GetJobList(&buffer, &length) == 0;
    const Document list(buffer, length);
    return parse_xml(read ? std::string(list.text()) : "");
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

/// A job of the list as a document of its own, with the namespaces of the list.
Response job_of_list(mxml_node_t *job) {
    mxml_node_t *list = mxmlGetParent(job);
    for (int i = 0; i < mxmlElementGetAttrCount(list); ++i) {
        const char *name = nullptr;
        const char *value = mxmlElementGetAttrByIndex(list, i, &name);
        mxmlElementSetAttr(job, name, value);
    }
    mxmlRemove(job);
    const XmlText owned(job, mxmlDelete);
    Response response;
    response.text.resize(64 * 1024);
    const int size = mxmlSaveString(job, response.text.data(),
                                    static_cast<int>(response.text.size()), MXML_NO_CALLBACK);
    if (size < 0 || static_cast<std::size_t>(size) >= response.text.size())
        return error_response(500, "");
    response.text.resize(static_cast<std::size_t>(size));
    response.text.insert(0, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
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
    const XmlText list = read_list();
    mxml_node_t *job = find_job(list.get(), request.path);
    return job ? job_of_list(job) : error_response(404, "no such job");
}

Response put_job(Device &, const Request &request) {
    const XmlText body = parse_xml(request.body);
    mxml_node_t *job = root_of(body.get());
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
