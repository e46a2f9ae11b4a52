/// The list document of stored jobs, its copy, and the settings tickets beside it.
#pragma once

#include "frame/guards.h"

#include <cstdint>
#include <ctime>
#include <string>

namespace varn {

/// What a host asked to be stored.
struct StoredJob {
    const char *name; ///< never null
    const char *pin;  ///< never null
    const char *uuid;
    uint32_t set_time; ///< seconds since the epoch
    bool flatbed;
};

constexpr char stored_job_list[] = "/tmp/xml_tickets/eSCL/ReserveJobs.xml";

/// A loaded list; all members do without a file that did not open.
class StoredJobList {
public:
    StoredJobList();

    /// Number of entries.
    int count() const;
    /// Entry of the job; null when there is none.
    mxml_node_t *find(const char *uuid) const;
    /// Puts a filled-in copy of the template at the end. False when something is missing, which
    /// the log tells, or when a text holds what XML cannot.
    bool append(const StoredJob &job, mxml_node_t *template_tree) const;
    /// Takes out every job older than its time, with the ticket of its name.
    void expire(time_t now) const;
    /// False when the file could not be replaced.
    bool save() const;
    /// Waits for the reader of the copy; leaves the copy alone when that takes too long.
    void save_copy() const;

private:
    mxml_node_t *tree() const { return tree_.get(); }

    ConfigTree tree_;
};

/// Path of the settings ticket of that name.
std::string settings_ticket(const std::string &name);
/// Removes it. Names come from hosts: other folders and the device's own documents are safe.
void remove_settings_ticket(const std::string &name);

} // namespace varn
