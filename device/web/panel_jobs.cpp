#include "device/web/panel_jobs.h"

#include "device/ctl/control_client.h"
#include "device/web/handlers.h"
#include "device/web/panel_xml.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>

namespace varn::web {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t stored_limit = 5;
constexpr char stored_list[] = "/tmp/xml_tickets/eSCL/ReserveJobs.xml";
constexpr LockSet start_locks = {Lock::scan, Lock::identifiers};

PanelAnswer refused(int status, std::string reason) { return {status, std::move(reason), 0}; }

bool set_mark(Device &device, const nlohmann::json &request) {
    try {
        ctl::ask(device.root(), request);
        return true;
    } catch (const std::exception &) {
        return false;
    }
}

/// The next scan is a direct one again.
void leave_stored(Device &device) {
    clearReservedJobs();
    set_mark(device, {{"do", "stored clear"}});
}

/// A job that was selected and not scanned waits on.
void put_back(Device &device, const std::string &uuid) {
    set_scan_specific_jobstatus(JOBSTAT_STORED, uuid.c_str(), 0);
    leave_stored(device);
}

/// None when the engine does not tell.
std::optional<std::vector<varn_stored_job>> read_stored_jobs() {
    std::vector<varn_stored_job> jobs(stored_limit);
    const auto size = static_cast<std::uint32_t>(jobs.size() * sizeof jobs[0]);
    if (mvtc_read_H1_RJList(static_cast<std::uint32_t>(varn_mvt_fd), jobs.data(), size, 5) != 0)
        return std::nullopt;
    std::erase_if(jobs, [](const varn_stored_job &job) { return job.szJobUUID[0] == '\0'; });
    return jobs;
}

bool is_old(std::int64_t set_time) {
    return static_cast<std::int64_t>(std::time(nullptr)) - set_time > stored_job_life_s;
}

std::string read_file(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string settings_of(const Device &device, const std::string &uuid) {
    return read_file(device.root() + "/tmp/xml_tickets/eSCL/" + uuid + ".xml");
}

std::string preview_document(bool flatbed, const ToneSettings &tone) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<scan:ScanSettings xmlns:scan=\"http://" VARN_SCHEMA_HOST_B "/imaging/escl/2011/05/03\""
        " xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\">\n";
    const auto add = [&](const std::string &name, const std::string &value) {
        xml += "<" + name + ">" + value + "</" + name + ">\n";
    };
    add("pwg:Version", "2.1");
    add("scan:Intent", "Preview");
    add("pwg:DocumentFormat", "image/jpeg");
    add("pwg:InputSource", flatbed ? "Platen" : "Feeder");
    add("scan:XResolution", "75");
    add("scan:YResolution", "75");
    add("scan:ColorMode", "RGB24");
    if (!flatbed) {
        add("scan:Duplex", "false");
        add("scan:NumberOfPages", "1");
    }
    add("scan:Gamma", std::to_string(tone.gamma));
    add("scan:Brightness", std::to_string(tone.brightness));
    add("scan:Contrast", std::to_string(tone.contrast));
    add("scan:Highlight", std::to_string(tone.highlight));
    add("scan:Shadow", std::to_string(tone.shadow));
    return xml + "</scan:ScanSettings>\n";
}

} // namespace

std::vector<varn_stored_job> PanelJobs::stored_jobs() {
    return read_stored_jobs().value_or(std::vector<varn_stored_job>());
}

int PanelJobs::locked_for_s(const std::string &uuid) {
    const std::lock_guard lock(mutex_);
    return pins_.locked_for_s(uuid, PinGuard::Clock::now());
}

PanelAnswer PanelJobs::admit(const std::string &uuid, std::string_view pin, varn_stored_job &job) {
    const auto jobs = stored_jobs();
    const auto found = std::ranges::find_if(
        jobs, [&](const varn_stored_job &each) { return text_of(each.szJobUUID) == uuid; });
    if (found == jobs.end())
        return refused(409, "There is no such stored job any more.");
    job = *found;
    const std::lock_guard lock(mutex_);
    const auto [verdict, wait] = pins_.check(uuid, text_of(job.szPIN), pin, PinGuard::Clock::now());
    if (verdict == PinGuard::Verdict::wrong)
        return {403, "That PIN is wrong.", wait};
    if (verdict == PinGuard::Verdict::too_soon)
        return {429, "Too many wrong PINs.", wait};
    return {};
}

std::int32_t PanelJobs::begin_stored(const std::string &uuid, int action, void *image) {
    if (!set_mark(device_, {{"do", "stored start"}, {"uuid", uuid}}))
        return 503;
    if (getIsReservedJobs(varn_mvt_fd) != 1 || eSCL_SetReserveJob_Panel("", uuid.c_str()) != 0) {
        leave_stored(device_);
        return 409;
    }
    std::int32_t result = escl_ScanSetting_ReserveJob(uuid.c_str(), action, 0, uuid.c_str());
    if (result == 0)
        result = scl_start_scan_ForRescl_start_scaneserveJob(action, image);
    if (result == -1)
        result = 409;
    if (result != 201)
        put_back(device_, uuid);
    return result;
}

PanelAnswer PanelJobs::release(const std::string &uuid, std::string_view pin) {
    varn_stored_job entry = {};
    if (PanelAnswer no = admit(uuid, pin, entry); no.status != 200)
        return no;
    const ScanJobs::Claim claim = device_.jobs().claim(Interface::eth0, false);
    if (!claim.granted)
        return refused(409, "The scanner is busy.");
    const ScanJobPtr &job = claim.job;
    ScanJobs::Started started = {503, {}};
    device_.exclusively(start_locks, [&] {
        // Whoever asks for the current job reads these under Lock::scan.
        job->origin = ScanJob::Origin::stored;
        job->uuid = text_of(entry.szJobUUID);
        job->at_end = [this, raw = job.get()](ScanJob::State state) { end_stored(*raw, state); };
        job->format = requested_format(settings_of(device_, uuid));
        started = device_.jobs().start_stored(
            job, [&](int action, void *image) { return begin_stored(uuid, action, image); });
    });
    if (started.status != 201)
        return refused(409, "The job could not be started: no paper, or the scanner is not ready.");
    collect(job);
    return {};
}

/// Between the end of the thread and the next job.
void PanelJobs::end_stored(const ScanJob &job, ScanJob::State state) {
    device_.exclusively(start_locks, [&] {
        const char *uuid = job.uuid.c_str();
        if (job.cancelled) {
            escl_cancel_RJscan(varn_mvt_fd, uuid);
        } else if (state != ScanJob::State::completed) {
            // An error of the engine costs nobody the job: when it is put right, it can be released
            // again.
            put_back(device_, job.uuid);
            const std::lock_guard lock(mutex_);
            put_back_.insert(job.uuid);
            return;
        } else {
            escl_RemoveRJPCList(varn_mvt_fd, uuid);
            parse_ReserveScanJob_delete("", uuid);
        }
        leave_stored(device_);
    });
}

PanelAnswer PanelJobs::remove(const std::string &uuid, std::string_view pin) {
    varn_stored_job entry = {};
    if (PanelAnswer no = admit(uuid, pin, entry); no.status != 200)
        return no;
    bool is_scanned = false;
    device_.exclusively({Lock::scan}, [&] {
        const ScanJobPtr current = device_.jobs().current();
        is_scanned = current && current->origin == ScanJob::Origin::stored && current->uuid == uuid;
        if (is_scanned)
            return;
        escl_CancelScan_ReserveJob(text_of(entry.szJobName).c_str(), uuid.c_str(), 1);
        escl_RemoveRJPCList(varn_mvt_fd, uuid.c_str());
    });
    return is_scanned ? refused(409, "The job is being scanned.") : PanelAnswer{};
}

PanelAnswer PanelJobs::preview(bool flatbed, const ToneSettings &tone) {
    const ScanJobs::Claim claim = device_.jobs().claim(Interface::eth0, false);
    if (!claim.granted)
        return refused(409, "The scanner is busy.");
    ScanJobs::Started started = {503, {}};
    device_.exclusively(start_locks, [&] {
        claim.job->origin = ScanJob::Origin::preview;
        std::string xml = preview_document(flatbed, tone);
        started = device_.jobs().start(claim.job, xml, Interface::eth0);
    });
    if (started.status == 409)
        return refused(409, "There is no paper, or the scanner refuses these settings.");
    if (started.status != 201)
        return refused(409, "The scanner is not ready.");
    collect(claim.job);
    return {};
}

PanelAnswer PanelJobs::cancel() {
    const ScanJobPtr job = device_.jobs().current();
    if (!job)
        return refused(409, "No scan is running.");
    device_.jobs().cancel(job);
    return {};
}

/// Takes what is delivered, as a host would; the pages are kept on their way.
void PanelJobs::collect(const ScanJobPtr &job) {
    const auto work = [this, job](const std::stop_token &stop) {
        ImageSink nowhere;
        nowhere.begin = [](std::string_view) { return true; };
        nowhere.write = [](std::span<const std::byte>) { return true; };
        nowhere.end = [] { return true; };
        Request request;
        request.uuid = job->uuid;
        request.at_panel = true;
        for (bool over = false; !over && !stop.stop_requested();) {
            const std::optional<Response> refusal = next_document(device_, request, nowhere);
            over = job->has_ended();
            if (refusal && !over)
                std::this_thread::sleep_for(50ms);
        }
    };
    const std::lock_guard lock(mutex_);
    // One at a time has the device: an earlier one is at its end.
    collectors_.clear();
    collectors_.emplace_back(work);
}

void PanelJobs::stop() {
    const std::lock_guard lock(mutex_);
    collectors_.clear();
}

void PanelJobs::report() {
    const auto category_of = [](const ScanJob &job) {
        return job.origin == ScanJob::Origin::preview ? VARN_JOB_SCAN_PREVIEW : VARN_JOB_SCAN;
    };
    const auto source_of = [](const ScanJob &job) {
        return job.origin == ScanJob::Origin::host ? VARN_JOB_USER_IO : VARN_JOB_SCANNER;
    };
    const auto known = device_.jobs().known();
    std::erase_if(reports_, [&](const Report &report) {
        if (!report.ended || std::ranges::find(known, report.job) != known.end())
            return false;
        const std::lock_guard lock(mutex_);
        walkup_.erase(report.job.get());
        return true;
    });
    for (const ScanJobPtr &job : known) {
        if (job->only_stored)
            continue;
        auto report = std::ranges::find(reports_, job, &Report::job);
        if (report == reports_.end()) {
            if (job->origin == ScanJob::Origin::host &&
                picked_.takes_scan(PanelPick::Clock::now())) {
                const std::lock_guard lock(mutex_);
                walkup_.insert(job.get());
            }
            device_.exclusively({Lock::jobs}, [&] {
                VARN_Set_Job(category_of(*job), VARN_JOB_PROCESSING, source_of(*job));
            });
            report = reports_.insert(reports_.end(), {job});
        }
        if (report->ended || !job->has_ended())
            continue;
        report->ended = true;
        const int state =
            job->state == ScanJob::State::completed ? VARN_JOB_COMPLETED : VARN_JOB_CANCELED;
        device_.exclusively({Lock::jobs},
                            [&] { VARN_Update_Job(category_of(*job), state, source_of(*job)); });
    }
}

bool PanelJobs::is_walkup(const ScanJob &job) {
    const std::lock_guard lock(mutex_);
    return walkup_.contains(&job);
}

/// While the feeder is jammed, the status document tells of the first job as aborted, and goes on
/// to do so. One that waits on is told as held again.
void PanelJobs::hold_again() {
    std::set<std::string> waiting;
    {
        const std::lock_guard lock(mutex_);
        waiting = put_back_;
    }
    if (waiting.empty())
        return;
    const XmlTree status = document_of_resource(device_, "/eSCL/ScannerStatus");
    if (!status || text_in(status.get(), "AdfState") == "ScannerAdfJam")
        return;
    device_.exclusively({Lock::scan}, [&] {
        const ScanJobPtr current = device_.jobs().current();
        for (const std::string &uuid : waiting) {
            if (current && current->uuid == uuid)
                continue;
            mxml_node_t *entry = entry_of_job(status.get(), uuid);
            if (entry && text_in(entry, "JobState") == "Aborted")
                set_scan_specific_jobstatus(JOBSTAT_STORED, uuid.c_str(), 0);
        }
    });
}

/// Wrong tries at jobs that their hosts have taken back, and what else is kept of them.
void PanelJobs::forget_gone(const std::vector<varn_stored_job> &jobs) {
    const auto is_there = [&](const std::string &uuid) {
        return std::ranges::any_of(
            jobs, [&](const varn_stored_job &job) { return text_of(job.szJobUUID) == uuid; });
    };
    const std::lock_guard lock(mutex_);
    pins_.forget_all_but(is_there);
    std::erase_if(put_back_, [&](const std::string &uuid) { return !is_there(uuid); });
}

/// Looking for old entries saves the list whether there are any or not.
bool PanelJobs::list_has_old() const {
    const XmlTree list = load_xml(read_file(device_.root() + stored_list));
    return std::ranges::any_of(elements(list.get(), "Time"), [](mxml_node_t *time) {
        const char *text = mxmlGetOpaque(time);
        return text && is_old(std::strtoll(text, nullptr, 10));
    });
}

void PanelJobs::expire() {
    hold_again();
    device_.exclusively({Lock::scan}, [&] {
        const auto jobs = read_stored_jobs();
        if (jobs)
            forget_gone(*jobs);
        const ScanJobPtr current = device_.jobs().current();
        if (current && current->origin == ScanJob::Origin::stored)
            return;
        for (const varn_stored_job &job : jobs.value_or(std::vector<varn_stored_job>())) {
            if (!is_old(job.dwSetTime))
                continue;
            const std::string uuid = text_of(job.szJobUUID);
            eSCL_ReserveScanJob_CheckTime(text_of(job.szJobName).c_str(), uuid.c_str());
            escl_RemoveRJPCList(varn_mvt_fd, uuid.c_str());
        }
        // Entries that only the list knows.
        if (list_has_old())
            parse_ReserveScanJob_CheckTime();
    });
}

} // namespace varn::web
