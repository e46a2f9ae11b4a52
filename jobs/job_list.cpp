/// The list of jobs in its ticket.

#include "frame/root.h"
#include "jobs/job_file.h"
#include "varn/frame.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mxml.h>

using varn::ConfigTree;
using varn::job_element;
using varn::job_list_path;
using varn::job_list_root;
using varn::job_log_name;
using varn::UniqueFd;

namespace varn {
namespace {

/// Holds off other threads, and other processes through the lock file. The file goes at the end, so
/// that a latecomer locks a new one.
class ListLock {
public:
    ListLock()
        : lock_(job_mutex()), path_(device_path("/tmp/varnjob.lock")),
          file_(open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644)) {
        if (!file_.ok())
            puts("Open Lock file fail...");
        else
            while (lockf(file_.get(), F_LOCK, 0) != 0 && errno == EINTR)
                ;
    }
    ListLock(const ListLock &) = delete;
    ListLock &operator=(const ListLock &) = delete;
    ~ListLock() {
        if (!file_.ok())
            return;
        if (lockf(file_.get(), F_ULOCK, 0) == 0)
            unlink(path_.c_str());
    }
    bool ok() const { return file_.ok(); }

private:
    const std::lock_guard<std::recursive_mutex> lock_;
    const std::string path_;
    const UniqueFd file_;
};

int open_list() { return open(device_path(job_list_path).c_str(), O_RDWR | O_CLOEXEC); }

void log_open_error(int line) {
    printf("%s:%d:#Error: unable to open %s \n", job_log_name, line, job_list_path);
}

/// The root of an opened list; null with a log line when the file is none.
mxml_node_t *find_root(const ConfigTree &list, int line) {
    if (list.get() == nullptr) {
        log_open_error(line);
        return nullptr;
    }
    mxml_node_t *root = cfg_find_param_node(list.get(), job_list_root);
    if (root == nullptr)
        printf("%s:%d:#Error: unable to find root %s\n", job_log_name, line, job_list_root);
    return root;
}

bool is_named(mxml_node_t *node, const char *name) {
    const char *own = mxmlGetElement(node);
    return own != nullptr && strcmp(own, name) == 0;
}

/// The entry whose URL is `url`; null when there is none.
mxml_node_t *find_entry(mxml_node_t *root, const char *url) {
    for (mxml_node_t *node = cfg_walk_next(root, root, 1); node != nullptr;
         node = cfg_walk_next(node, root, 1)) {
        char text[2048] = "";
        if (is_named(node, job_url_element) && cfg_get_param_value(node, text, sizeof text) == 0 &&
            strcmp(text, url) == 0)
            return mxmlGetParent(node);
    }
    return nullptr;
}

void set_child(mxml_node_t *entry, const char *name, const char *text) {
    mxml_node_t *child = text != nullptr ? cfg_find_param_node(entry, name) : nullptr;
    if (child != nullptr)
        cfg_set_param_value(child, text);
}

void set_entry(mxml_node_t *entry, const varn_job_text &job) {
    set_child(entry, "j:JobState", job.state);
    set_child(entry, "j:JobCategory", job.category);
    set_child(entry, "j:JobStateUpdate", job.stateUpdate);
    set_child(entry, "j:JobSource", job.source);
    char percent[16];
    snprintf(percent, sizeof percent, "%d", job.percent);
    set_child(entry, job_percent_element, percent);
    puts("Update finish......");
}

mxml_node_t *entry_at(mxml_node_t *root, int32_t index) {
    for (mxml_node_t *node = mxmlGetFirstChild(root); node != nullptr && index >= 0;
         node = mxmlGetNextSibling(node))
        if (is_named(node, job_element) && index-- == 0)
            return node;
    return nullptr;
}

const char *shown(const char *text) { return text != nullptr ? text : ""; }

} // namespace
} // namespace varn

int32_t VARN_Save_jdescQ_ToXML(const varn_job_text *job) {
    if (job == nullptr || !varn::is_storable(*job))
        return -1;
    printf("%s: %s %s %s %s %s %d\n", __func__, varn::shown(job->url), varn::shown(job->category),
           varn::shown(job->state), varn::shown(job->source), varn::shown(job->stateUpdate),
           job->percent);
    const varn::ListLock lock;
    if (!lock.ok())
        return -1;
    UniqueFd opened(varn::open_list());
    const bool made = !opened.ok() && errno == ENOENT && varn::create_job_list();
    const UniqueFd file = made ? UniqueFd(varn::open_list()) : std::move(opened);
    if (!file.ok()) {
        varn::log_open_error(__LINE__);
        return -1;
    }
    const ConfigTree list(varn::device_path(job_list_path).c_str());
    mxml_node_t *root = varn::find_root(list, __LINE__);
    mxml_node_t *entry = root != nullptr ? mxmlNewElement(root, job_element) : nullptr;
    if (entry == nullptr)
        return -1;
    varn::add_job_elements(entry, *job);
    return varn::save_job_tree(list.get(), file.get()) ? 0 : -1;
}

int32_t VARN_Update_jdescQ_ToXML(const varn_job_text *job) {
    const varn::ListLock lock;
    if (!lock.ok())
        return -1;
    const UniqueFd file(varn::open_list());
    const ConfigTree list(varn::device_path(job_list_path).c_str());
    if (!file.ok() || list.get() == nullptr || job == nullptr || *varn::shown(job->url) == '\0' ||
        !varn::is_storable(*job)) {
        printf("%s:paramter fail!\n", __func__);
        return -1;
    }
    mxml_node_t *root = cfg_find_param_node(list.get(), job_list_root);
    if (root == nullptr || cfg_find_param_node(root, job_element) == nullptr) {
        printf("%s:%d:#Error: unable to find %s\n", job_log_name, __LINE__,
               root == nullptr ? job_list_root : job_element);
        return -1;
    }
    if (mxml_node_t *entry = varn::find_entry(root, job->url)) {
        printf("Found joburl=%s\n", job->url);
        varn::set_entry(entry, *job);
    }
    return varn::save_job_tree(list.get(), file.get()) ? 0 : -1;
}

int32_t VARN_Remove_jdescQ_ToXML(int32_t index) {
    printf("%s, idx =%d\n", __func__, index);
    const varn::ListLock lock;
    if (!lock.ok())
        return -1;
    const UniqueFd file(varn::open_list());
    if (!file.ok()) {
        varn::log_open_error(__LINE__);
        return -1;
    }
    const ConfigTree list(varn::device_path(job_list_path).c_str());
    mxml_node_t *root = varn::find_root(list, __LINE__);
    if (root == nullptr)
        return -1;
    if (mxml_node_t *entry = varn::entry_at(root, index)) {
        printf("Find node idx %d to remove...%s\n", index, job_element);
        mxmlDelete(entry);
    }
    return varn::save_job_tree(list.get(), file.get()) ? 0 : -1;
}

int32_t VARN_GetJobList(char **out, uint32_t *outlen) {
    return common_read_file_data(job_list_path, out, outlen);
}
