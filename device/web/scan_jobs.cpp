#include "device/web/scan_jobs.h"

#include "device/kob_common/link.h"
#include "device/wire/places.h"
#include "varn/varn.h"

#include <cstring>
#include <utility>

namespace varn::web {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::size_t known_limit = 16;

/// How often the watcher looks for the end of the receive thread.
constexpr auto watch_step = 10ms;
/// How long a new job waits for the thread of one that is over; longer than cancel_patience.
constexpr auto hand_over_limit = 8s;
/// The receive thread does not see a cancel while it waits for the engine. After this time its
/// socket is hung up.
constexpr auto cancel_patience = 5s;

bool is_final(std::int32_t status) { return status >= JOBSTAT_COMPLETED; }

/// Status of a job whose receive thread has ended. The thread leaves two cases to the web server:
/// images that it found undelivered, and an engine that stopped in the middle of its records.
/// Without an end in the status document, no further job would be let in.
ScanJob::State settle_status() {
    const std::int32_t status = escl_get_scanning_job_status();
    if (!is_final(status)) {
        const std::int32_t end = Scan_Finish_Type == 1 ? JOBSTAT_COMPLETED : JOBSTAT_ABORTED;
        set_scan_scanning_jobstatus(end);
        return end == JOBSTAT_COMPLETED ? ScanJob::State::completed : ScanJob::State::broken_off;
    }
    return status == JOBSTAT_COMPLETED ? ScanJob::State::completed : ScanJob::State::broken_off;
}

} // namespace

ScanJobs::ScanJobs(std::string root, int link_fd)
    : root_(std::move(root)), link_fd_(link_fd), watcher_(&ScanJobs::watch, this) {}

ScanJobs::~ScanJobs() {
    shut_down();
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    watcher_.join();
}

ScanJobs::Claim ScanJobs::claim(Interface interface, bool only_stored) {
    const auto job = std::make_shared<ScanJob>();
    std::unique_lock lock(mutex_);
    const auto deadline = Clock::now() + hand_over_limit;
    while (current_ && !closing_) {
        if (interface == Interface::usb && !only_stored)
            mark_cancelled(*current_);
        else if (!current_->cancelled && !is_final(escl_get_scanning_job_status()))
            return {only_stored, job};
        changed_.notify_all();
        // A cancel always comes to its end: USB waits for as long as it takes.
        if (interface == Interface::usb)
            changed_.wait(lock);
        else if (changed_.wait_until(lock, deadline) == std::cv_status::timeout)
            return {false, nullptr};
    }
    if (closing_ || escl_is_scanthread_exist() != 0)
        return {only_stored && !closing_, job};
    current_ = job;
    return {true, job};
}

bool ScanJobs::open_sockets(ScanJob &job) const {
    job.action = EngineSocket(root_, wire::action_socket);
    job.image = EngineSocket(root_, wire::image_socket);
    job.ring = RingView(root_);
    if (!job.action || !job.image || !job.ring ||
        kob_set_document_format(link_fd_, engine_format(job.format)) != 0)
        return false;
    job.image_word = job.image.get();
    return true;
}

ScanJobs::Started ScanJobs::start(const ScanJobPtr &job, std::string &xml, Interface interface) {
    std::int32_t result = 503;
    job->format = requested_format(xml);
    if (open_sockets(*job)) {
        escl_set_scan_source(scan_source(interface));
        result = escl_start_scan(job->action.get(), &job->image_word, xml.data(),
                                 static_cast<std::uint32_t>(xml.size()));
    }
    if (http_status(result) == 201) {
        const char *uuid = escl_get_jobuuid();
        job->uuid.assign(uuid, strnlen(uuid, 36));
        // Of a job that is only stored no thread knows.
        job->only_stored = job->uuid != escl_getScanningJobUUID();
    }
    return started(job, result);
}

ScanJobs::Started
ScanJobs::start_stored(const ScanJobPtr &job,
                       const std::function<std::int32_t(int action, void *image)> &begin) {
    return started(job, open_sockets(*job) ? begin(job->action.get(), &job->image_word) : 503);
}

ScanJobs::Started ScanJobs::started(const ScanJobPtr &job, std::int32_t result) {
    const std::lock_guard lock(mutex_);
    // 0 is the library's word for an engine that is neither idle nor busy.
    const int status = result == 0 ? 503 : http_status(result);
    if (status == 201) {
        job->resolution = static_cast<unsigned>(scan_resolution);
        job->state = job->only_stored ? ScanJob::State::completed : ScanJob::State::running;
        remember(job);
    }
    if (job->state == ScanJob::State::starting)
        job->state = ScanJob::State::broken_off;
    if (current_ == job && job->state != ScanJob::State::running)
        current_ = nullptr;
    changed_.notify_all();
    return {status, job->uuid};
}

std::vector<ScanJobPtr> ScanJobs::known() const {
    const std::lock_guard lock(mutex_);
    return {known_.rbegin(), known_.rend()};
}

ScanJobPtr ScanJobs::current() const {
    const std::lock_guard lock(mutex_);
    return current_;
}

void ScanJobs::remember(const ScanJobPtr &job) {
    known_.push_front(job);
    if (known_.size() > known_limit)
        known_.pop_back();
}

ScanJobPtr ScanJobs::find(const std::string &uuid) const {
    const std::lock_guard lock(mutex_);
    for (const ScanJobPtr &job : known_)
        if (strcasecmp(job->uuid.c_str(), uuid.c_str()) == 0)
            return job;
    return nullptr;
}

bool ScanJobs::is_latest(const ScanJobPtr &job) const {
    const std::lock_guard lock(mutex_);
    return !known_.empty() && known_.front() == job;
}

void ScanJobs::cancel(const ScanJobPtr &job) {
    const std::lock_guard lock(mutex_);
    mark_cancelled(*job);
}

void ScanJobs::mark_cancelled(ScanJob &job) {
    if (job.has_ended() || job.cancelled)
        return;
    job.cancelled = true;
    job.cancelled_at = Clock::now();
    changed_.notify_all();
}

void ScanJobs::engine_lost() {
    ScanJobPtr job;
    {
        const std::lock_guard lock(mutex_);
        job = current_;
    }
    if (job)
        cancel(job);
}

void ScanJobs::shut_down() {
    ScanJobPtr job;
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
        job = current_;
    }
    if (!job)
        return;
    cancel(job);
    if (wait_for_end(job, 2s))
        return;
    {
        const std::lock_guard lock(mutex_);
        job->image.hang_up();
    }
    wait_for_end(job, cancel_patience);
}

bool ScanJobs::wait_for_end(const ScanJobPtr &job, std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    changed_.notify_all(); // the watcher may look at once
    return changed_.wait_for(lock, limit, [&] { return job->has_ended(); });
}

bool ScanJobs::begin_delivery(const ScanJobPtr &job) {
    const std::lock_guard lock(mutex_);
    return !std::exchange(job->delivering, true);
}

void ScanJobs::end_delivery(const ScanJobPtr &job) {
    const std::lock_guard lock(mutex_);
    job->delivering = false;
    if (job->has_ended())
        job->ring = RingView();
}

/// The published block belongs to the job that runs: the lock keeps another job from taking its
/// place between the look and the taking.
ScanJobs::Take ScanJobs::take_block(const ScanJobPtr &job, TakenBlock &block) {
    const std::lock_guard lock(mutex_);
    if (current_ != job || job->cancelled)
        return Take::over;
    std::uint8_t record[sizeof block.status];
    switch (do_get_current_block_info(record, &block.ring_index)) {
    case 1:
        std::memcpy(&block.status, record, sizeof record);
        return Take::block;
    case 0:
        return Take::none;
    default:
        return Take::over;
    }
}

void ScanJobs::block_done(const ScanJobPtr &job) {
    const std::lock_guard lock(mutex_);
    if (current_ == job)
        do_notify_send_CurrentBlock_done();
}

void ScanJobs::watch() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        const ScanJobPtr job = current_;
        if (!job || job->state == ScanJob::State::starting) {
            changed_.wait(lock);
        } else if (escl_is_scanthread_exist() == 0) {
            finish(job, lock);
        } else {
            if (job->cancelled)
                press_cancel(*job);
            changed_.wait_for(lock, watch_step);
        }
    }
}

/// Repeated until the thread is gone: the thread clears the flag when it sets itself up, and a
/// cancel that came just before would be forgotten.
void ScanJobs::press_cancel(ScanJob &job) {
    escl_cancel_scan();
    if (Clock::now() - job.cancelled_at > cancel_patience)
        job.image.hang_up();
}

void ScanJobs::finish(const ScanJobPtr &job, std::unique_lock<std::mutex> &lock) {
    lock.unlock();
    const ScanJob::State state = settle_status();
    if (state == ScanJob::State::completed)
        eSCL_Notify_AllImgSentDone(link_fd_);
    if (job->at_end)
        job->at_end(state);
    lock.lock();
    job->state = state;
    job->action.close();
    job->image.close();
    if (!job->delivering)
        job->ring = RingView();
    if (current_ == job)
        current_ = nullptr;
    changed_.notify_all();
}

} // namespace varn::web
