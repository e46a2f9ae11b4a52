#include "escl/reserve_list.h"

#include "frame/root.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <mxml.h>
#include <unistd.h>
#include <vector>

namespace varn {
namespace {

constexpr char list_copy[] = "/tmp/xml_tickets/eSCL/ReserveJobs_Copy.xml";
constexpr char reader_marker[] = "/tmp/xml_tickets/eSCL/ReserveJobs_Touch.xml";
constexpr char list_root[] = "scan:ScanSettingsType";
constexpr char entry_path[] = "scan:ScanSettingsType.scan:StoredJobRequest";
constexpr char name_path[] = "scan:ScanSettingsType.scan:StoredJobRequest.scan:JobName";
constexpr char time_path[] = "scan:ScanSettingsType.scan:StoredJobRequest.scan:Time";
constexpr char uuid_path[] = "scan:ScanSettingsType.scan:StoredJobRequest.pwg:JobUri";
constexpr char template_entry[] = "root.scan:StoredJobRequest";

constexpr int32_t lifetime_s = 300;

/// A reader needs milliseconds for the few kilobytes of the copy.
constexpr useconds_t look_every_us = 50000;
constexpr int most_looks = 60;

/// Documents of the scan resources: stored jobs are named by strangers, and none of these goes
/// because a job was given its name.
constexpr const char *own_documents[] = {
    "ReserveJobs",   "ReserveJobs_Copy", "ReserveJobs_Touch", "ScanBufferInfo",
    "ScanImageInfo", "ScannerStatus",    "eSclManifest",      "res",
};

bool node_has_path(mxml_node_t *node, mxml_node_t *top, const char *path) {
    char name[1024];
    return cfg_get_node_pathname(node, top, name, sizeof name) == 0 && strcmp(name, path) == 0;
}

std::string node_text(mxml_node_t *node) {
    char text[2048] = {};
    cfg_get_param_value(node, text, sizeof text);
    return text;
}

/// Whole seconds since the time that the text tells; what is no time counts as 1970.
int32_t age_of(const std::string &text, time_t now) {
    const auto set_time = static_cast<time_t>(strtol(text.c_str(), nullptr, 10));
    printf("~~~!!! CheckSetTime = %d \n", static_cast<int32_t>(set_time));
    const double age = std::clamp(difftime(now, set_time), double{INT32_MIN}, double{INT32_MAX});
    printf("~~~!!! DiffTime_value = %d \n", static_cast<int32_t>(age));
    return static_cast<int32_t>(age);
}

bool reader_at_work() {
    // A marker that is a pipe must not hold the look up.
    return UniqueFd(open(device_path(reader_marker).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC))
        .ok();
}

bool wait_for_reader() {
    for (int looks = 0; reader_at_work(); ++looks) {
        puts("ReserveJobs_Touch.xml file exists");
        if (looks == most_looks)
            return false;
        usleep(look_every_us);
    }
    return true;
}

bool set_child(mxml_node_t *entry, const char *child, const char *text) {
    mxml_node_t *node = cfg_find_param_node(entry, child);
    if (node == nullptr)
        printf("unable to find %s in %s\n", child, template_entry);
    return node != nullptr && cfg_set_param_value(node, text) == 0;
}

} // namespace

StoredJobList::StoredJobList() : tree_(device_path(stored_job_list).c_str()) {}

int StoredJobList::count() const {
    int entries = 0;
    for (auto *node = tree(); (node = cfg_walk_next(node, tree(), 1)) != nullptr;)
        entries += node_has_path(node, tree(), entry_path) ? 1 : 0;
    return entries;
}

mxml_node_t *StoredJobList::find(const char *uuid) const {
    mxml_node_t *entry = nullptr;
    for (auto *node = tree(); (node = cfg_walk_next(node, tree(), 1)) != nullptr;) {
        if (node_has_path(node, tree(), entry_path))
            entry = node;
        else if (node_has_path(node, tree(), uuid_path) && node_text(node) == uuid)
            return entry;
    }
    return nullptr;
}

bool StoredJobList::append(const StoredJob &job, mxml_node_t *template_tree) const {
    mxml_node_t *root = cfg_find_param_node(tree(), list_root);
    if (root == nullptr) {
        printf("%s didn't find!\n", "dd:Version");
        return false;
    }
    mxml_node_t *entry = cfg_find_param_node(template_tree, template_entry);
    if (entry == nullptr) {
        printf("unable to find %s in %s\n", template_entry, "res.xml");
        return false;
    }
    const std::string set_time = std::to_string(static_cast<int32_t>(job.set_time));
    if (!set_child(entry, "scan:JobName", job.name) ||
        !set_child(entry, "scan:Time", set_time.c_str()) ||
        !set_child(entry, "scan:PIN", job.pin) || !set_child(entry, "pwg:JobUri", job.uuid))
        return false;
    mxmlAdd(root, MXML_ADD_AFTER, nullptr, entry);
    return true;
}

void StoredJobList::expire(time_t now) const {
    mxml_node_t *entry = nullptr;
    std::vector<mxml_node_t *> expired;
    std::string name;
    for (auto *node = tree(); (node = cfg_walk_next(node, tree(), 1)) != nullptr;) {
        if (node_has_path(node, tree(), entry_path))
            entry = node;
        else if (node_has_path(node, tree(), name_path))
            name = node_text(node);
        else if (node_has_path(node, tree(), time_path) &&
                 age_of(node_text(node), now) > lifetime_s) {
            // By the name, where every other path takes the identifier: the settings stay behind.
            remove_settings_ticket(name);
            expired.push_back(entry);
        }
    }
    // A walk does not outlive the node that it stands on, and an entry may tell two times.
    expired.erase(std::unique(expired.begin(), expired.end()), expired.end());
    for (mxml_node_t *old : expired)
        cfg_del_param_node(old);
}

bool StoredJobList::save() const {
    return tree() != nullptr && cfg_save_file(tree(), device_path(stored_job_list).c_str()) == 0;
}

void StoredJobList::save_copy() const {
    if (tree() != nullptr && wait_for_reader())
        cfg_save_file(tree(), device_path(list_copy).c_str());
}

std::string settings_ticket(const std::string &name) {
    return "/tmp/xml_tickets/eSCL/" + name + ".xml";
}

void remove_settings_ticket(const std::string &name) {
    const std::string ticket = settings_ticket(name);
    printf("~~~!!! fname_ScanSetting = %s \n", ticket.c_str());
    const bool ours = std::ranges::find(own_documents, name) != std::end(own_documents);
    if (!ours && name.find('/') == std::string::npos)
        unlink(device_path(ticket).c_str());
}

} // namespace varn
