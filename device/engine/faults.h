/// Faults that a person at the device can provoke.
#pragma once

#include "device/wire/records.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace varn::engine {

/// Where in a sheet's way a fault strikes.
enum class FaultPlace {
    start,  ///< before the sheet moves: it stays in the feeder
    middle, ///< half-way down its front
    end,    ///< behind its last image, told in the sheet record
};

/// What a fault does.
enum class FaultEffect {
    error,   ///< the scan ends with the fault's error
    hatch,   ///< the hatch opens, which ends the scan
    tray,    ///< the output tray is closed, which ends the scan
    overlap, ///< the next sheet comes along: an error only for a host that wants to know of it
    slow,    ///< the sheet takes its time and comes: counted, no error
    drop,    ///< the image client is disconnected
    refuse,  ///< the next settings that a host writes are refused; bound to no sheet
};

struct FaultKind {
    std::string_view name;
    wire::EngineError error;
    FaultPlace usual_place;
    FaultEffect effect = FaultEffect::error;
};

inline constexpr std::array<FaultKind, 13> fault_kinds = {{
    {"jam", wire::err_jam, FaultPlace::middle},
    {"mispick", wire::err_mispick, FaultPlace::start},
    {"multipick", wire::err_multipick, FaultPlace::middle, FaultEffect::overlap},
    {"toolong", wire::err_page_too_long, FaultPlace::middle},
    {"tooshort", wire::err_page_too_short, FaultPlace::middle},
    {"hatch", wire::err_hatch_open, FaultPlace::middle, FaultEffect::hatch},
    {"tray", wire::err_tray_closed, FaultPlace::middle, FaultEffect::tray},
    {"empty", wire::err_feeder_empty, FaultPlace::start},
    {"slowpick", wire::err_none, FaultPlace::start, FaultEffect::slow},
    {"cancel", wire::err_cancelled_at_device, FaultPlace::middle},
    {"abort", wire::err_abort_scan, FaultPlace::middle},
    {"drop", wire::err_none, FaultPlace::middle, FaultEffect::drop},
    {"refuse", wire::err_none, FaultPlace::start, FaultEffect::refuse},
}};

/// Whether it can happen on the glass too, where no paper moves.
constexpr bool strikes_glass(const FaultKind &kind) {
    return kind.effect == FaultEffect::drop || kind.error >= wire::err_cancelled_at_device;
}

struct NamedPlace {
    std::string_view name;
    FaultPlace place;
};
inline constexpr std::array<NamedPlace, 3> fault_places = {
    {{"start", FaultPlace::start}, {"middle", FaultPlace::middle}, {"end", FaultPlace::end}}};

/// Words for the engine's error codes, as `varnctl state` shows them.
struct ErrorName {
    std::uint32_t code;
    std::string_view name;
};
inline constexpr std::array<ErrorName, 12> error_names = {{
    {wire::err_none, "none"},
    {wire::err_mispick, "mispick"},
    {wire::err_jam, "jam"},
    {wire::err_jam_exit, "jam at the exit"},
    {wire::err_multipick, "multipick"},
    {wire::err_page_too_long, "page too long"},
    {wire::err_page_too_short, "page too short"},
    {wire::err_hatch_open, "hatch open"},
    {wire::err_feeder_empty, "feeder empty"},
    {wire::err_tray_closed, "output tray closed"},
    {wire::err_cancelled_at_device, "cancelled at the device"},
    {wire::err_abort_scan, "aborted"},
}};

/// The row whose `name` it is; null for none.
template <typename Row, std::size_t count>
constexpr const Row *find_named(const std::array<Row, count> &rows, std::string_view name) {
    const auto found = std::ranges::find(rows, name, &Row::name);
    return found == rows.end() ? nullptr : &*found;
}

/// A fault that waits for its sheet.
struct Fault {
    const FaultKind *kind = nullptr;
    unsigned sheet = 1; ///< of a scan, from 1
    FaultPlace place = FaultPlace::middle;
};

} // namespace varn::engine
