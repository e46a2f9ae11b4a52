#include "device/web/panel_state.h"

#include "device/ctl/control_client.h"
#include "device/web/panel_network.h"
#include "device/web/panel_settings.h"
#include "device/web/panel_xml.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <span>

namespace varn::web {

using nlohmann::json;

namespace {

std::string after_last_slash(const std::string &uri) { return uri.substr(uri.rfind('/') + 1); }

using Shortcuts = std::vector<Destination::Shortcut>;

/// What a host is offered whose words the device chooses. The calls for network and for USB hosts
/// have a table of their own each; a USB host gets a word that both have, because it depends on
/// its place in the list which of them is for it.
Shortcuts network_shortcuts() {
    return {{"SavePDF", 1},          {"SaveJPEG", 2},    {"EmailPDF", 3},   {"EmailJPEG", 4},
            {"SaveEditableText", 5}, {"SendToCloud", 6}, {"GeneralScan", 7}};
}
Shortcuts usb_shortcuts() {
    return {{"GeneralScan", 7}, {"SaveJPEG", 2},         {"EmailPDF", 3},
            {"EmailJPEG", 4},   {"SaveEditableText", 5}, {"SendToCloud", 6}};
}
constexpr int first_own_shortcut = 8;

/// What a USB subscriber is offered: its own do not count.
Shortcuts usb_subscriber_shortcuts() {
    return {{"SavePDF", 0}, {"SaveJPEG", 1}, {"EmailPDF", 2}, {"SendToCloud", 3}};
}

std::vector<Destination> varn_destinations(Device &device) {
    std::vector<Destination> found;
    const XmlTree list =
        document_of_resource(device, "/WalkupScanToComp/WalkupScanToCompDestinations");
    device.exclusively({Lock::walkup}, [&] {
        WalkupScanDests *dests = nullptr;
        if (VARN_GetWalkupScanDests(&dests) != 0)
            return;
        for (int i = 0; i < dests->nDests; ++i) {
            const WalkupScanDest &dest = dests->dests[i];
            Destination next;
            next.family = Destination::Family::varn;
            next.name = text_of(dest.name);
            next.is_network = dest.linkType == 1;
            next.index = dest.index;
            next.shortcuts = next.is_network ? network_shortcuts() : usb_shortcuts();
            for (int own = 0; own < std::min(dest.nCustom, 4); ++own)
                next.shortcuts.push_back({text_of(dest.custom[own]), first_own_shortcut + own});
            found.push_back(std::move(next));
        }
        VARN_FreeWalkupScanDests(&dests);
    });
    // The form for the panel leaves out who they are; the document has the same order.
    const auto entries = elements(list.get(), "WalkupScanToCompDestination");
    for (std::size_t i = 0; i < found.size() && i < entries.size(); ++i)
        found[i].uuid = after_last_slash(text_in(entries[i], "ResourceURI"));
    std::erase_if(found, [](const Destination &each) { return each.uuid.empty(); });
    return found;
}

} // namespace

std::vector<varn_pc_record> pc_records() {
    const auto link = static_cast<std::uint32_t>(varn_mvt_fd);
    constexpr std::uint32_t most = 64;
    std::uint32_t count = 0;
    if (mvtc_read_H1_PCList(link, &count, sizeof count, 4) != 0)
        return {};
    std::vector<varn_pc_record> records(std::min(count, most));
    const auto size = static_cast<std::uint32_t>(records.size() * sizeof(varn_pc_record));
    if (!records.empty() && mvtc_read_H1_PCList(link, records.data(), size, 5) != 0)
        return {};
    return records;
}

std::vector<Destination> read_destinations(Device &device) {
    std::vector<Destination> all = varn_destinations(device);
    int index = 0;
    for (const varn_pc_record &record : pc_records()) {
        Destination next;
        next.uuid = text_of(record.szPCUUID);
        next.index = index++;
        // Both kinds of hosts stand in the engine's list.
        if (std::ranges::find(all, next.uuid, &Destination::uuid) != all.end())
            continue;
        next.name = text_of(record.szPCNameUTF8);
        next.is_network = record.dwLinkType == 1;
        const std::uint32_t count =
            std::min<std::uint32_t>(record.dwShortcutNum, VARN_PC_SHORTCUTS);
        if (!next.is_network)
            next.shortcuts = usb_subscriber_shortcuts();
        for (std::uint32_t i = 0; next.is_network && i < count; ++i)
            next.shortcuts.push_back({text_of(record.szShortcut[i]), static_cast<int>(i)});
        all.push_back(std::move(next));
    }
    return all;
}

namespace {

json to_json(const std::vector<Destination> &destinations) {
    json list = json::array();
    for (const Destination &each : destinations) {
        json names = json::array();
        for (const Destination::Shortcut &shortcut : each.shortcuts)
            names.push_back(shortcut.name);
        list.push_back({{"family", name_of(each.family)},
                        {"uuid", each.uuid},
                        {"name", each.name},
                        {"link", each.is_network ? "Network" : "USB"},
                        {"index", each.index},
                        {"shortcuts", std::move(names)}});
    }
    return list;
}

json read_events(Device &device) {
    json list = json::array();
    const XmlTree table = document_of_resource(device, "/EventMgmt/EventTable");
    auto events = elements(table.get(), "Event");
    std::ranges::reverse(events);
    for (mxml_node_t *event : events) {
        json resources = json::array();
        for (mxml_node_t *uri : elements(event, "ResourceURI"))
            if (const char *text = mxmlGetOpaque(uri))
                resources.push_back(text);
        list.push_back({{"category", text_in(event, "UnqualifiedEventCategory")},
                        {"stamp", text_in(event, "AgingStamp")},
                        {"resources", std::move(resources)}});
    }
    return list;
}

const char *word(std::span<const char *const> words, int value, const char *other) {
    if (value < 0 || value >= static_cast<int>(words.size()))
        return other;
    return words[static_cast<std::size_t>(value)];
}

json read_job_list(Device &device) {
    constexpr std::array categories = {"Scan", "ScanPreview", "FwUpgrade"};
    constexpr std::array states = {"Processing", "ProcessingError", "Blocked",
                                   "Suspended",  "Canceled",        "Completed"};
    constexpr std::array sources = {"userIO", "userEWS", "scanner", "internal"};
    json list = json::array();
    device.exclusively({Lock::jobs}, [&] {
        int last = 0; // behind the twentieth job the queue repeats one
        for (int slot = VARN_JOB_SLOTS; slot-- > 0;) {
            const varn_job_desc &job = gp_jobdesc[slot];
            if (job.jobId == 0 || job.jobId == last)
                continue;
            last = job.jobId;
            list.push_back({{"id", job.jobId},
                            {"category", word(categories, job.category, "Scan")},
                            {"state", word(states, job.state, "Completed")},
                            {"source", word(sources, job.source, "userIO")},
                            {"percent", job.percent}});
        }
    });
    return list;
}

json read_stored_jobs(PanelJobs &jobs) {
    json list = json::array();
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    for (const varn_stored_job &job : PanelJobs::stored_jobs()) {
        const std::string uuid = text_of(job.szJobUUID);
        const std::int64_t age = std::max<std::int64_t>(now - job.dwSetTime, 0);
        list.push_back({{"uuid", uuid},
                        {"name", text_of(job.szJobName)},
                        {"has_pin", job.szPIN[0] != '\0'},
                        {"flatbed", job.byFlatbed == 1},
                        {"age_s", age},
                        {"expires_in_s", std::max<std::int64_t>(stored_job_life_s - age, 0)},
                        {"locked_for_s", jobs.locked_for_s(uuid)}});
    }
    return list;
}

const char *kind_of(PanelJobs &jobs, const ScanJob &job) {
    switch (job.origin) {
    case ScanJob::Origin::stored:
        return "stored";
    case ScanJob::Origin::preview:
        return "preview";
    case ScanJob::Origin::host:
        break;
    }
    return jobs.is_walkup(job) ? "walkup" : "host";
}

/// The job that runs or ran last, with the words of the status document.
json describe_job(Device &device, PanelJobs &jobs, mxml_node_t *status) {
    const auto known = device.jobs().known();
    const auto last = std::find_if(known.rbegin(), known.rend(),
                                   [](const ScanJobPtr &job) { return !job->only_stored; });
    if (last == known.rend())
        return nullptr;
    const ScanJob &job = **last;
    json told = {{"uuid", job.uuid},
                 {"kind", kind_of(jobs, job)},
                 {"state", job.has_ended() ? "Completed" : "Processing"},
                 {"reason", ""},
                 {"pages", job.pages.load()}};
    if (mxml_node_t *entry = entry_of_job(status, job.uuid)) {
        told["state"] = text_in(entry, "JobState");
        told["reason"] = text_in(entry, "JobStateReason");
    }
    return told;
}

json describe_tone_ranges() {
    json ranges;
    for (const ToneRange &range : tone_ranges)
        ranges[range.name] = {range.least, range.normal, range.most};
    return ranges;
}

json describe_pick(const std::optional<Destination> &host) {
    if (!host)
        return nullptr;
    return {{"family", name_of(host->family)}, {"uuid", host->uuid}, {"name", host->name}};
}

} // namespace

void PanelState::read_identity() {
    const XmlTree config = document_of_resource(device_, "/DevMgmt/ProductConfigDyn.xml");
    serial_ = text_in(config.get(), "SerialNumber");
    const auto information = elements(config.get(), "ProductInformation");
    if (!information.empty())
        firmware_ = text_in(information.front(), "Revision");
}

void PanelState::add_engine(json &state) const {
    json engine = json::object();
    try {
        engine = ctl::ask(device_.root(), {{"do", "state"}}).at("state");
    } catch (const std::exception &) {
        state["scanner"]["state"] = "Stopped";
    }
    const json none = json::array();
    const json faults = engine.value("faults", none);
    const json first = faults.empty() ? json::object() : faults.front();
    state["feeder"] = {{"sheets", engine.value("feeder", none).size()},
                       {"hatch_open", engine.value("hatch", "") == "open"},
                       {"tray_closed", engine.value("tray", "") == "closed"},
                       {"fault", first.value("kind", json())},
                       {"fault_sheet", first.value("sheet", json())},
                       {"last_error", engine.value("lastErrorName", "")}};
    state["glass"] = {{"picture", engine.value("glass", json())}};
    const json carriers = engine.value("carriers", json::object());
    state["links"] = {{"usb", engine.value("usb", "") == "in"},
                      {"eth0", carriers.value("eth0", "") == "up"},
                      {"wlan0", carriers.value("wlan0", "") == "up"},
                      {"wlan1", carriers.value("wlan1", "") == "up"}};
    state["sharepoint_test"] = engine.value("sharePoint", json::object()).value("lastTest", json());
    state["maintenance"] = maintenance_.shown(engine);
    state["tone"] = {{"ranges", describe_tone_ranges()}, {"curve", engine.value("tone", json())}};
}

void PanelState::add_status(json &state) {
    const XmlTree status = document_of_resource(device_, "/eSCL/ScannerStatus");
    state["scanner"] = {{"state", text_in(status.get(), "State")},
                        {"feeder_state", text_in(status.get(), "AdfState")},
                        {"firmware", firmware_},
                        {"serial", serial_}};
    if (!status)
        state["scanner"]["state"] = "Stopped";
    state["job"] = describe_job(device_, jobs_, status.get());
}

void PanelState::add_jobs(json &state) {
    json pages = json::array();
    for (const KeptPage &page : device_.pages().pages())
        pages.push_back(
            {{"id", page.id}, {"job", page.job}, {"width", page.width}, {"height", page.height}});
    state["pages"] = std::move(pages);
    state["stored_jobs"] = read_stored_jobs(jobs_);
    state["jobs"] = read_job_list(device_);
}

void PanelState::read_lists() {
    destinations_ = to_json(read_destinations(device_));
    events_ = read_events(device_);
    network_ = describe_network(device_);
    if (network_.is_null())
        return;
    if (wps_pin_.empty())
        wps_pin_ = wps_pin(device_);
    network_["wps"]["pin"] = wps_pin_;
}

std::string PanelState::text(bool lists) {
    if (serial_.empty())
        read_identity();
    json state;
    add_status(state);
    add_engine(state);
    add_jobs(state);
    if (lists)
        read_lists();
    state["addresses"] = addresses_;
    state["destinations"] = destinations_;
    state["picked"] = describe_pick(jobs_.picked().host());
    state["events"] = events_;
    state["network"] = network_;
    state["settings_revision"] = settings_revision();
    // Names come from strangers and need not be text.
    return state.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace varn::web
