#include "device/engine/engine.h"

#include "device/engine/files.h"
#include "device/engine/pictures/tone.h"
#include "device/engine/wear.h"
#include "device/wire/local_socket.h"
#include "device/wire/places.h"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <utility>

namespace varn::engine {
namespace {

constexpr std::uint16_t firmware_idle = 0;
constexpr std::uint16_t firmware_busy = 4;

/// A cancelled scan leaves nothing behind that a person would have to put right.
bool is_paper_error(std::uint32_t error) {
    return error > wire::err_limit && error < wire::err_cancelled_at_device;
}

template <std::size_t width>
std::string text_of(const char (&field)[width]) {
    return {field, strnlen(field, width)};
}

} // namespace

Engine::Engine(const std::string &root)
    : root_(root), nvram_(root), storage_(root), tally_(nvram_, storage_), clock_(storage_),
      paper_(root), connections_(root), net_(root, text_of(nvram_.table().uuid)),
      ring_(root + wire::ring_file) {}

std::shared_ptr<ScanJob> Engine::job() const {
    const std::lock_guard lock(mutex_);
    return job_;
}

wire::ScannerStatus Engine::status() const {
    wire::ScannerStatus status;
    status.dwLastErr = paper_.last_error();
    status.wSensorStatus = paper_.sensors();
    status.byPanelTakeover = paper_.taken_over() ? 1 : 0;
    const std::lock_guard lock(mutex_);
    status.wFWInfo = job_ ? firmware_busy : firmware_idle;
    status.byPowerDown = powered_down_ ? 1 : 0;
    return status;
}

bool Engine::set_scan_param(const wire::ScanParam &param) {
    return !paper_.take_refusal() && is_possible(param) && !job() &&
           storage_.set_record(scan_param_record, bytes_of(param));
}

wire::ScanParam Engine::scan_param() const {
    wire::ScanParam param;
    const Bytes kept = storage_.record(scan_param_record);
    std::memcpy(static_cast<void *>(&param), kept.data(), sizeof param);
    return param;
}

wire::ScannerStatus Engine::pick_media() {
    if (!job() && paper_.feeder_obstacle() == wire::err_none)
        paper_.set_last_error(wire::err_none);
    return status();
}

void Engine::set_next_format(DocumentFormat format) {
    const std::lock_guard lock(mutex_);
    next_format_ = format;
}

std::shared_ptr<ScanJob> Engine::start_scan() {
    const wire::ScanParam param = scan_param();
    const std::lock_guard lock(mutex_);
    if (job_ || !is_possible(param))
        return nullptr;
    if (param.dwADF == 0 || paper_.feeder_obstacle() == wire::err_none)
        paper_.set_last_error(wire::err_none);
    job_ = std::make_shared<ScanJob>(param, HostSettings(storage_),
                                     std::exchange(next_format_, DocumentFormat::jpeg), paper_,
                                     tally_, ring_);
    tally_.scan();
    powered_down_ = false;
    armed_ = false;
    claimed_ = false;
    claim_until_ms_ = wire::now_ms() + unclaimed_limit_ms;
    return job_;
}

bool Engine::arm() {
    const std::lock_guard lock(mutex_);
    armed_ = job_ != nullptr;
    return armed_;
}

std::shared_ptr<ScanJob> Engine::claim() {
    const std::lock_guard lock(mutex_);
    if (!job_ || !armed_ || claimed_)
        return nullptr;
    claimed_ = true;
    return job_;
}

bool Engine::is_unclaimed(const std::shared_ptr<ScanJob> &job) const {
    const std::lock_guard lock(mutex_);
    return job && job == job_ && !claimed_;
}

void Engine::finish(const std::shared_ptr<ScanJob> &job, std::uint32_t error) {
    job->end();
    if (is_paper_error(error))
        paper_.set_last_error(error);
    tally_.flush();
    net_.tick();
    const std::lock_guard lock(mutex_);
    if (job_ == job)
        job_.reset();
}

bool Engine::cancel(std::uint32_t why) {
    const std::shared_ptr<ScanJob> running = job();
    if (running)
        running->cancel(why);
    return running != nullptr;
}

void Engine::stop_scan() {
    const std::shared_ptr<ScanJob> running = job();
    if (is_unclaimed(running))
        finish(running);
    else
        cancel(wire::err_abort_scan);
}

bool Engine::interrupt(std::uint32_t why) {
    const std::shared_ptr<ScanJob> running = job();
    if (!running || !running->uses_feeder())
        return false;
    running->interrupt(why);
    return true;
}

bool Engine::drop_images() {
    const std::shared_ptr<ScanJob> running = job();
    if (running)
        running->drop();
    return running != nullptr;
}

bool Engine::set_power_down(bool down) {
    const std::lock_guard lock(mutex_);
    if (job_)
        return false;
    powered_down_ = down;
    return true;
}

std::vector<wire::StoredJob> Engine::stored_jobs() const {
    const Bytes entries = storage_.list(job_list);
    std::vector<wire::StoredJob> jobs(entries.size() / sizeof(wire::StoredJob));
    if (!jobs.empty())
        std::memcpy(static_cast<void *>(jobs.data()), entries.data(), entries.size());
    return jobs;
}

bool Engine::start_stored_job(const std::string &uuid) {
    const std::vector<wire::StoredJob> jobs = stored_jobs();
    if (uuid.empty() || std::ranges::none_of(jobs, [&](const wire::StoredJob &job) {
            return text_of(job.szJobUUID) == uuid;
        }))
        return false;
    wire::StartedJob started;
    started.dwFlag = 1;
    uuid.copy(started.szJobUUID, sizeof started.szJobUUID - 1);
    const std::lock_guard lock(mutex_);
    started_job_ = started;
    return true;
}

void Engine::clear_started_job() {
    const std::lock_guard lock(mutex_);
    started_job_ = {};
}

wire::StartedJob Engine::started_job() const {
    const std::lock_guard lock(mutex_);
    return started_job_;
}

/// Nobody who may look at the device may look at a PIN.
void Engine::describe_stored_jobs(nlohmann::json &state) const {
    nlohmann::json &list = state["storedJobs"] = nlohmann::json::array();
    for (const wire::StoredJob &job : stored_jobs())
        list.push_back({{"name", text_of(job.szJobName)},
                        {"uuid", text_of(job.szJobUUID)},
                        {"hasPin", job.szPIN[0] != '\0'},
                        {"setTime", std::uint32_t{job.dwSetTime}},
                        {"source", job.byFlatbed != 0 ? "glass" : "feeder"}});
    const wire::StartedJob started = started_job();
    state["startedJob"] = nullptr;
    if (started.dwFlag != 0)
        state["startedJob"] = text_of(started.szJobUUID);
}

bool Engine::test_connection(std::uint64_t slot) {
    if (slot >= profile_slots)
        return false;
    wire::Profile job;
    const Bytes table = storage_.profile(job_table);
    std::memcpy(static_cast<void *>(&job), table.data() + slot * sizeof job, sizeof job);
    if (job.dwType == wire::profile_free)
        return false;
    connection_test_.start();
    return true;
}

void Engine::tick() {
    tally_.flush();
    clock_.tick();
    const std::shared_ptr<ScanJob> running = job();
    if (is_unclaimed(running) && wire::now_ms() > claim_until_ms_) {
        log_line("nobody came for the scan's images: scan ended");
        finish(running);
    }
}

void Engine::describe(nlohmann::json &state) {
    const std::shared_ptr<ScanJob> running = job();
    state["status"] = running ? "busy" : "idle";
    state["job"] = nullptr;
    if (running) {
        const ScanJob::Progress progress = running->progress();
        state["job"] = {{"source", running->uses_feeder() ? "feeder" : "glass"},
                        {"sheets", progress.sheets},
                        {"images", progress.images}};
    }
    paper_.describe(state);
    connections_.describe(state);
    describe_stored_jobs(state);
    {
        const std::lock_guard lock(mutex_);
        state["power"] = powered_down_ ? "down" : "up";
    }
    state["tone"] = nullptr;
    if (const auto levels = read_tone_table(storage_.record(tone_tables[0])))
        state["tone"] = *levels;
    const wire::NvramTable table = nvram_.table();
    const wire::Counters counters = tally_.counters();
    state["counts"] = {{"scans", std::uint32_t{counters.scans}},
                       {"sheets", std::uint32_t{counters.sheets}},
                       {"feederPages", std::uint32_t{table.adf_pages}},
                       {"flatbedPages", std::uint32_t{table.flatbed_pages}},
                       {"jams", std::uint16_t{table.jam_events}},
                       {"mispicks", std::uint16_t{table.mispick_events}},
                       {"multipicks", std::uint16_t{table.multipick_events}},
                       {"slowPicks", std::uint16_t{table.slow_pick_events}}};
    describe_wear(table, state);
    connection_test_.describe(state);
    clock_.describe(state);
}

bool Engine::restore_factory() {
    clear_started_job();
    connection_test_.forget();
    const bool nvram_restored = nvram_.restore_factory();
    const bool storage_restored = storage_.restore_factory();
    clock_.restart();
    return net_.restore_factory() && storage_restored && nvram_restored;
}

} // namespace varn::engine
