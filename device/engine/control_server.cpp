#include "device/engine/control_server.h"

#include "device/engine/files.h"
#include "device/engine/wear.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>

namespace varn::engine {
namespace {

using nlohmann::json;

constexpr std::size_t longest_line = 256 * 1024;

/// A request: {"do": "feeder load", …}. Each answer has "ok"; a refusal has "error".
struct ControlCommand {
    std::string_view name;
    void (*perform)(Engine &engine, const json &request, json &answer);
};

void open_hatch(Engine &engine, const json &, json &) {
    engine.paper().set_hatch(true);
    engine.interrupt(wire::err_hatch_open);
}

void close_tray(Engine &engine, const json &, json &) {
    engine.paper().set_tray(false);
    engine.interrupt(wire::err_tray_closed);
}

const FaultKind &fault_kind(const json &request) {
    const auto name = request.at("kind").get<std::string>();
    if (const FaultKind *kind = find_named(fault_kinds, name))
        return *kind;
    throw std::runtime_error("no such fault: " + name);
}

void add_fault(Engine &engine, const json &request, json &) {
    Fault fault;
    fault.kind = &fault_kind(request);
    fault.sheet = request.value("sheet", 1U);
    fault.place = fault.kind->usual_place;
    if (request.contains("at")) {
        const auto *place = find_named(fault_places, request.at("at").get<std::string>());
        if (!place)
            throw std::runtime_error("a fault strikes at start, middle or end");
        fault.place = place->place;
    }
    if (fault.sheet == 0)
        throw std::runtime_error("sheets are counted from 1");
    engine.paper().add_fault(fault);
}

bool strike(Engine &engine, const FaultKind &kind) {
    if (kind.effect == FaultEffect::drop)
        return engine.drop_images();
    if (kind.error >= wire::err_cancelled_at_device)
        return engine.cancel(kind.error);
    if (!engine.interrupt(kind.error))
        return false;
    if (kind.effect == FaultEffect::hatch)
        engine.paper().set_hatch(true);
    if (kind.effect == FaultEffect::tray)
        engine.paper().set_tray(false);
    return true;
}

void fault_now(Engine &engine, const json &request, json &) {
    const FaultKind &kind = fault_kind(request);
    if (kind.effect == FaultEffect::refuse)
        throw std::runtime_error("settings can only be refused the next time they are written");
    if (kind.effect == FaultEffect::slow)
        throw std::runtime_error("a sheet can only be slow to come when it is picked");
    if (!strike(engine, kind))
        throw std::runtime_error("no scan is running there");
}

void set_power_down(Engine &engine, bool down) {
    if (!engine.set_power_down(down))
        throw std::runtime_error("a scan is running");
}

constexpr unsigned longest_delay_ms = 60000;

void set_pace(Engine &engine, const json &request, json &) {
    const Pace pace = {request.value("msPerStrip", 0U), request.value("msPerBlock", 0U)};
    if (std::max(pace.ms_per_strip, pace.ms_per_block) > longest_delay_ms)
        throw std::runtime_error("a delay is at most " + std::to_string(longest_delay_ms) + " ms");
    engine.paper().set_pace(pace);
}

void start_stored_job(Engine &engine, const json &request, json &) {
    const auto uuid = request.at("uuid").get<std::string>();
    if (!engine.start_stored_job(uuid))
        throw std::runtime_error("no such stored job: " + uuid);
}

void wear_out(Engine &engine, const json &request, json &) {
    set_wear(engine.nvram(), request.at("part").get<std::string>(),
             request.at("pages").get<std::uint32_t>());
}

void wear_now(Engine &engine, const json &request, json &) {
    mark_wear(engine.root(), request.at("part").get<std::string>());
}

void restore_intervals(Engine &engine, const json &, json &) {
    if (!engine.nvram().restore_intervals())
        throw std::runtime_error("the device tree cannot be written");
}

void set_test_outcome(Engine &engine, const json &request, json &) {
    constexpr std::int64_t usual_ms = 500;
    engine.connection_test().set_outcome(request.at("outcome").get<std::string>(),
                                         request.value("ms", usual_ms));
}

constexpr ControlCommand commands[] = {
    {"state", [](Engine &engine, const json &, json &answer) { engine.describe(answer["state"]); }},
    {"feeder load", [](Engine &engine, const json &request,
                       json &) { engine.paper().load_feeder(request.at("sheets")); }},
    {"feeder empty", [](Engine &engine, const json &, json &) { engine.paper().empty_feeder(); }},
    {"glass put", [](Engine &engine, const json &request,
                     json &) { engine.paper().put_on_glass(request.at("sheet")); }},
    {"glass clear", [](Engine &engine, const json &, json &) { engine.paper().clear_glass(); }},
    {"hatch open", open_hatch},
    {"hatch close", [](Engine &engine, const json &, json &) { engine.paper().set_hatch(false); }},
    {"tray open", [](Engine &engine, const json &, json &) { engine.paper().set_tray(true); }},
    {"tray close", close_tray},
    {"fault add", add_fault},
    {"fault now", fault_now},
    {"panel takeover",
     [](Engine &engine, const json &, json &) { engine.paper().set_takeover(true); }},
    {"panel release",
     [](Engine &engine, const json &, json &) { engine.paper().set_takeover(false); }},
    {"stored start", start_stored_job},
    {"stored clear", [](Engine &engine, const json &, json &) { engine.clear_started_job(); }},
    {"power down", [](Engine &engine, const json &, json &) { set_power_down(engine, true); }},
    {"power up", [](Engine &engine, const json &, json &) { set_power_down(engine, false); }},
    {"pace", set_pace},
    {"usb in", [](Engine &engine, const json &, json &) { engine.connections().set_usb(true); }},
    {"usb out", [](Engine &engine, const json &, json &) { engine.connections().set_usb(false); }},
    {"wear", wear_out},
    {"wear now", wear_now},
    {"wear off", restore_intervals},
    {"sharepoint", set_test_outcome},
    {"time reachable",
     [](Engine &engine, const json &, json &) { engine.clock().set_server_reachable(true); }},
    {"time unreachable",
     [](Engine &engine, const json &, json &) { engine.clock().set_server_reachable(false); }},
    {"fault clear", [](Engine &engine, const json &, json &) { engine.paper().clear_faults(); }},
};

json answer(Engine &engine, const std::string &line) {
    json reply = {{"ok", true}};
    try {
        const json request = json::parse(line);
        const auto name = request.at("do").get<std::string>();
        const auto *found = std::ranges::find(commands, name, &ControlCommand::name);
        if (found != std::end(commands))
            found->perform(engine, request, reply);
        else if (!engine.net().command(name, request, reply))
            throw std::runtime_error("no such command: " + name);
    } catch (const json::exception &error) {
        reply = {{"ok", false}, {"error", std::string("bad request: ") + error.what()}};
    } catch (const std::exception &error) {
        reply = {{"ok", false}, {"error", error.what()}};
    }
    return reply;
}

/// A line without its end; nothing when the client is gone or the line is too long.
std::optional<std::string> receive_line(Client &client) {
    std::string line;
    char next = 0;
    if (!client.receive_request(writable_bytes(next)))
        return std::nullopt;
    while (next != '\n') {
        line.push_back(next);
        if (line.size() > longest_line || !client.receive(writable_bytes(next)))
            return std::nullopt;
    }
    return line;
}

} // namespace

void serve_control(Engine &engine, Client &client) {
    while (const auto line = receive_line(client)) {
        std::string reply =
            answer(engine, *line).dump(-1, ' ', false, json::error_handler_t::replace);
        reply.push_back('\n');
        if (!client.send(bytes_of(std::string_view(reply))))
            return;
    }
}

} // namespace varn::engine
