#include "device/web/panel_actions.h"

#include "device/ctl/control_client.h"
#include "device/web/panel_network.h"
#include "device/web/panel_settings.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace varn::web {

using nlohmann::json;

namespace {

constexpr int most_sheets = 50;
constexpr int no_more_pages = 32767;
constexpr LockSet pick_locks = {Lock::walkup, Lock::my_malloc, Lock::shared_reader};

/// A whole number within bounds; `normal` when the request does not name it.
int whole(const json &request, const char *name, int normal, int least, int most) {
    const json value = request.value(name, json(normal));
    if (!value.is_number_integer() || value < least || value > most)
        throw std::invalid_argument(std::string(name) + " is out of its range.");
    return value.get<int>();
}

/// Actions that are a command of the engine as they stand.
struct PlainAction {
    std::string_view name;
    const char *command;
};
constexpr PlainAction plain_actions[] = {
    {"feeder.clear", "feeder empty"}, {"glass.remove", "glass clear"}, {"hatch.open", "hatch open"},
    {"hatch.close", "hatch close"},   {"tray.open", "tray open"},      {"tray.close", "tray close"},
    {"fault.clear", "fault clear"},
};

constexpr std::array sheet_names = {"chart", "text", "ramp", "blank"};

json drawn_sheet(const std::string &name) {
    if (std::ranges::find(sheet_names, name) == sheet_names.end())
        throw std::invalid_argument("There is no sheet of that name.");
    return {{"front", {{"drawn", name}}}};
}

json load_command(const json &request) {
    json sheets = json::array();
    if (request.contains("sheets")) {
        for (const json &name : request.at("sheets"))
            sheets.push_back(drawn_sheet(name.get<std::string>()));
    } else {
        const int count = whole(request, "count", 0, 1, most_sheets);
        for (int i = 0; i < count; ++i)
            sheets.push_back(drawn_sheet(sheet_names[static_cast<std::size_t>(i) % 3]));
    }
    if (sheets.empty() || sheets.size() > most_sheets)
        throw std::invalid_argument("Load 1 to 50 sheets.");
    return {{"do", "feeder load"}, {"sheets", sheets}};
}

json link_command(const json &request) {
    const auto link = request.at("link").get<std::string>();
    const bool up = request.at("up").get<bool>();
    if (link == "usb")
        return {{"do", up ? "usb in" : "usb out"}};
    return {{"do", "net carrier"}, {"interface", link}, {"up", up}};
}

/// The engine's command for an action; null when the action is none of the engine's.
json engine_command(const std::string &action, const json &request) {
    const auto *plain = std::ranges::find(plain_actions, action, &PlainAction::name);
    if (plain != std::end(plain_actions))
        return {{"do", plain->command}};
    if (action == "feeder.load")
        return load_command(request);
    if (action == "glass.put")
        return {{"do", "glass put"}, {"sheet", drawn_sheet(request.at("picture"))}};
    if (action == "fault.set")
        return {{"do", "fault add"},
                {"kind", request.at("kind").get<std::string>()},
                {"sheet", whole(request, "sheet", 1, 1, most_sheets)}};
    if (action == "link.set")
        return link_command(request);
    return nullptr;
}

/// False when the host has gone.
bool pick_escl(const Destination &host, const Destination::Shortcut &shortcut, int duplex,
               int times) {
    auto records = pc_records();
    const auto record = std::ranges::find_if(records, [&](const varn_pc_record &each) {
        return host.uuid.compare(0, sizeof each.szPCUUID, each.szPCUUID,
                                 strnlen(each.szPCUUID, sizeof each.szPCUUID)) == 0;
    });
    if (record == records.end())
        return false;
    if (!host.is_network && record == records.begin() && times != no_more_pages) {
        eSCL_SetWalkupScanDest(0, 0, shortcut.number, static_cast<std::uint32_t>(duplex));
        return true;
    }
    // The call for a USB host knows the first of the list only, and only how a scan begins.
    const auto slot = static_cast<std::uint32_t>(shortcut.number);
    if (!host.is_network)
        snprintf(record->szShortcut[slot], sizeof record->szShortcut[slot], "%s",
                 shortcut.name.c_str());
    eSCL_SetWalkupScanDest_NetworkScan(&*record, 0, slot, duplex, host.uuid.c_str(), times);
    return true;
}

/// is_last   in the document of the destinations
bool pick_varn(const Destination &host, int shortcut, unsigned duplex, bool is_last) {
    const char *uuid = host.uuid.c_str();
    // The call for a USB host takes the last of the list, whichever it is.
    if (!host.is_network && is_last)
        return VARN_SetWalkupScanDest(0, host.index, shortcut, duplex, uuid) == 0;
    return VARN_SetWalkupScanDest_NetworkScan(0, 0, shortcut, duplex, uuid, 0) == 0;
}

} // namespace

PanelAnswer PanelActions::pick(const json &request) {
    const bool escl = request.at("family").get<std::string>() == "escl";
    const auto family = escl ? Destination::Family::escl : Destination::Family::varn;
    const auto uuid = request.at("uuid").get<std::string>();
    const auto chosen =
        static_cast<std::size_t>(whole(request, "shortcut", 0, 0, VARN_PC_SHORTCUTS));
    const int duplex = request.value("duplex", false) ? 1 : 0;
    auto hosts = read_destinations(device_);
    std::erase_if(hosts, [&](const Destination &each) { return each.family != family; });
    const auto host = std::ranges::find(hosts, uuid, &Destination::uuid);
    if (host == hosts.end())
        return {409, "This computer is not a destination any more.", 0};
    if (chosen >= std::max<std::size_t>(host->shortcuts.size(), 1))
        return {400, "The computer has no such shortcut.", 0};
    const auto shortcut =
        host->shortcuts.empty() ? Destination::Shortcut{} : host->shortcuts[chosen];
    bool done = true;
    device_.exclusively(pick_locks, [&] {
        if (escl)
            done = pick_escl(*host, shortcut, duplex, 0);
        else
            done = pick_varn(*host, shortcut.number, static_cast<unsigned>(duplex),
                             host + 1 == hosts.end());
    });
    if (!done)
        return {409, "This computer cannot be picked now.", 0};
    jobs_.picked().set(*host, PanelPick::Clock::now());
    return {};
}

/// The operator has another page for the picked computer, or no more.
PanelAnswer PanelActions::follow_pick(bool next) {
    const std::optional<Destination> host = jobs_.picked().host();
    if (!host)
        return {409, "No computer has been picked.", 0};
    const bool escl = host->family == Destination::Family::escl;
    if (escl && next)
        return {409, "This computer takes all pages in one scan.", 0};
    bool done = true;
    device_.exclusively(pick_locks, [&] {
        if (escl)
            done = pick_escl(*host, {}, 0, no_more_pages);
        else
            done = (next ? VARN_ResumeWalkupScan() : VARN_StopResumeWalkupScan()) == 0;
    });
    if (!done || !next)
        jobs_.picked().clear();
    else
        jobs_.picked().await_next_page(PanelPick::Clock::now());
    return done ? PanelAnswer{}
                : PanelAnswer{409, "The picked computer is not a destination any more.", 0};
}

PanelAnswer PanelActions::preview(const json &request) {
    const auto source = request.at("source").get<std::string>();
    if (source != "feeder" && source != "glass")
        return {400, "A preview is made from the feeder or the glass.", 0};
    ToneSettings tone = {};
    for (const ToneRange &range : tone_ranges)
        tone.*range.setting = whole(request, range.name, range.normal, range.least, range.most);
    return jobs_.preview(source == "glass", tone);
}

PanelAnswer PanelActions::dispatch(const std::string &action, const json &request) {
    if (const json command = engine_command(action, request); !command.is_null()) {
        ctl::ask(device_.root(), command);
        return {};
    }
    if (action == "job.cancel")
        return jobs_.cancel();
    if (action == "stored.release")
        return jobs_.release(request.at("uuid"), request.value("pin", ""));
    if (action == "stored.delete")
        return jobs_.remove(request.at("uuid"), request.value("pin", ""));
    if (action == "walkup.pick")
        return pick(request);
    if (action == "walkup.next" || action == "walkup.stop")
        return follow_pick(action == "walkup.next");
    if (action == "preview.start")
        return preview(request);
    if (action == "alert.acknowledge")
        return maintenance_.acknowledge(request.at("alert"));
    if (const auto done = act_on_network(device_, action, request))
        return *done;
    if (const auto changed = change_settings(device_, action, request))
        return *changed;
    return {400, "There is no such action.", 0};
}

PanelAnswer PanelActions::perform(std::string_view body) {
    try {
        const json request = json::parse(body);
        return dispatch(request.at("action").get<std::string>(), request);
    } catch (const json::exception &) {
        return {400, "The request cannot be understood.", 0};
    } catch (const std::invalid_argument &error) {
        return {400, error.what(), 0};
    } catch (const ctl::NoEngine &) {
        return {409, "The scan engine does not answer.", 0};
    } catch (const std::exception &error) {
        return {409, error.what(), 0};
    }
}

} // namespace varn::web
