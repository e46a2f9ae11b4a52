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

struct FaultKind {
    std::string_view name;
    wire::EngineError error;
    FaultPlace usual_place;
};

inline constexpr std::array<FaultKind, 7> fault_kinds = {{
    {"jam", wire::err_jam, FaultPlace::middle},
    {"mispick", wire::err_mispick, FaultPlace::start},
    {"multipick", wire::err_multipick, FaultPlace::middle},
    {"toolong", wire::err_page_too_long, FaultPlace::middle},
    {"tooshort", wire::err_page_too_short, FaultPlace::middle},
    {"cancel", wire::err_cancelled_at_device, FaultPlace::middle},
    {"abort", wire::err_abort_scan, FaultPlace::middle},
}};

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
