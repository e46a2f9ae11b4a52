/// The document of one job, and the manifest.

#include "frame/root.h"
#include "jobs/job_words.h"
#include "platform/xml_text.h"
#include "varn/frame.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mxml.h>

namespace varn {
namespace {

/// What a request says of a job: its texts, and the record that points at them.
struct JobRequest {
    char texts[std::size(job_elements)][128] = {};
    varn_job_text job = {};
};

/// The first word of an element: the loader makes a text node of each.
const char *first_word(mxml_node_t *entry, const char *name) {
    mxml_node_t *element = mxmlFindElement(entry, entry, name, nullptr, nullptr, MXML_DESCEND);
    mxml_node_t *text = element != nullptr ? mxmlGetFirstChild(element) : nullptr;
    return text != nullptr && mxmlGetType(text) == MXML_TEXT ? mxmlGetText(text, nullptr) : nullptr;
}

/// Without a declaration above it the job is the top of the tree, which a search passes over.
mxml_node_t *find_job(mxml_node_t *body) {
    const char *name = mxmlGetElement(body);
    if (name != nullptr && strcmp(name, job_element) == 0)
        return body;
    return mxmlFindElement(body, body, job_element, nullptr, nullptr, MXML_DESCEND);
}

void read_request(mxml_node_t *entry, JobRequest &request) {
    for (size_t i = 0; i < std::size(job_elements); ++i) {
        const JobElement &element = job_elements[i];
        const char *word = first_word(entry, element.name);
        if (word == nullptr)
            continue;
        printf("%s=%s\n", element.name, word);
        snprintf(request.texts[i], sizeof request.texts[i], "%s", word);
        if (element.text != nullptr)
            request.job.*element.text = request.texts[i];
        else
            request.job.percent = static_cast<int32_t>(strtol(request.texts[i], nullptr, 10));
    }
}

/// The slot that a document is made of. Index 20 is let through like the others but stands behind
/// the last slot: it gives an empty job.
varn_job_desc slot_at(int32_t index) {
    return index < VARN_JOB_SLOTS ? gp_jobdesc[index] : varn_job_desc{};
}

bool write_job(const varn_job_desc &slot) {
    const JobText url = job_url(slot.jobId);
    const JobText update = state_update_text(slot.jobId);
    const varn_job_text job = in_words(slot, url.text, slot.jobId != 0 ? update.text : nullptr);
    if (!create_job())
        return false;
    const std::string path = device_path(job_path);
    const UniqueFd file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    const ConfigTree tree(path.c_str());
    mxml_node_t *root = file.ok() ? cfg_find_param_node(tree.get(), job_element) : nullptr;
    if (root == nullptr)
        return false;
    add_job_elements(root, job);
    return save_job_tree(tree.get(), file.get());
}

} // namespace
} // namespace varn

int32_t VARN_Get_SpecificJobXML(char **out, uint32_t *outlen, int32_t index) {
    printf("%s, idx =%d\n", __func__, index);
    if (out == nullptr || outlen == nullptr || index < 0 || index > VARN_JOB_SLOTS) {
        printf("%s, parameter fail!\n", __func__);
        return -1;
    }
    const std::lock_guard lock(varn::job_mutex());
    if (!varn::write_job(varn::slot_at(index)))
        return -1;
    return common_read_file_data(varn::job_path, out, outlen);
}

int32_t VARN_Put_SpecificJobXML(const char *xml) {
    if (xml == nullptr)
        return -1;
    printf("%s get==>\n\n %s\n", __func__, xml);
    {
        const varn::ConfigTree list(varn::device_path(varn::job_list_path).c_str());
        if (list.get() == nullptr) {
            printf("%s:%d:#Error: unable to open %s \n", varn::job_log_name, __LINE__,
                   varn::job_list_path);
            return -1;
        }
        if (cfg_find_param_node(list.get(), varn::job_list_root) == nullptr) {
            printf("%s:%d:#Error: unable to find root %s\n", varn::job_log_name, __LINE__,
                   varn::job_list_root);
            return -1;
        }
    }
    const varn::XmlText body = varn::load_xml_text(xml, nullptr);
    mxml_node_t *entry = body != nullptr ? varn::find_job(body.get()) : nullptr;
    if (entry == nullptr) {
        printf("Can't find %s..\n", varn::job_element);
        return -1;
    }
    varn::JobRequest request;
    varn::read_request(entry, request);
    return VARN_Update_jdescQ_ToXML(&request.job);
}

int32_t VARN_GetJobsManifest(char **out, uint32_t *outlen) {
    return common_read_file_data("/tmp/xml_tickets/Jobs/JobsManifest.xml", out, outlen);
}
