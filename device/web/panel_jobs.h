/// The scans that the operator starts at the panel, and the bookkeeping of all jobs.
#pragma once

#include "device/web/device.h"
#include "device/web/panel_pick.h"
#include "device/web/pin_guard.h"
#include "varn/escl_reserve.h"

#include <array>
#include <list>
#include <set>
#include <stop_token>
#include <thread>

namespace varn::web {

/// What an action at the panel came to.
struct PanelAnswer {
    int status = 200;
    std::string error; ///< a sentence for a person, when it failed
    int retry_after_s = 0;
};

struct ToneSettings {
    int brightness, contrast, gamma, highlight, shadow;
};
struct ToneRange {
    const char *name;
    int ToneSettings::*setting;
    int least, normal, most;
};
inline constexpr std::array tone_ranges = {
    ToneRange{"brightness", &ToneSettings::brightness, 0, 1003, 2000},
    ToneRange{"contrast", &ToneSettings::contrast, 0, 1003, 2000},
    ToneRange{"gamma", &ToneSettings::gamma, 100, 180, 400},
    ToneRange{"highlight", &ToneSettings::highlight, 0, 1490, 2000},
    ToneRange{"shadow", &ToneSettings::shadow, 0, 94, 2000},
};

class PanelJobs {
public:
    explicit PanelJobs(Device &device) : device_(device) {}

    /// The engine's list. Reads over the engine link.
    static std::vector<varn_stored_job> stored_jobs();
    int locked_for_s(const std::string &uuid);

    /// Scans a stored job. Its pages come to the panel, unless a host that knows the job's
    /// identifier asks for them first.
    PanelAnswer release(const std::string &uuid, std::string_view pin);
    PanelAnswer remove(const std::string &uuid, std::string_view pin);
    PanelAnswer preview(bool flatbed, const ToneSettings &tone);
    PanelAnswer cancel();

    PanelPick &picked() { return picked_; }
    /// Whether the job that a host started is the answer to a pick.
    bool is_walkup(const ScanJob &job);

    /// Tells the job list of jobs that have begun or ended since the last call.
    void report();
    /// Takes stored jobs away whose time is up.
    void expire();
    /// Ends the collecting of pages; after the end of all jobs.
    void stop();

private:
    struct Report {
        ScanJobPtr job;
        bool ended = false;
    };
    PanelAnswer admit(const std::string &uuid, std::string_view pin, varn_stored_job &job);
    std::int32_t begin_stored(const std::string &uuid, int action, void *image);
    void end_stored(const ScanJob &job, ScanJob::State state);
    void collect(const ScanJobPtr &job);

    void hold_again();
    void forget_gone(const std::vector<varn_stored_job> &jobs);
    bool list_has_old() const;

    Device &device_;
    PanelPick picked_;
    std::mutex mutex_; ///< of what follows
    PinGuard pins_;
    std::set<const ScanJob *> walkup_; ///< of those in reports_
    std::set<std::string> put_back_;   ///< stored jobs that broke off and wait on
    std::list<std::jthread> collectors_;
    std::list<Report> reports_; ///< the panel's watch only
};

/// Seconds that a stored job waits before it is taken away.
inline constexpr int stored_job_life_s = 300;

} // namespace varn::web
