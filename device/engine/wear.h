/// Wear of the parts that move paper: what makes the maintenance alerts rise when a person asks
/// for it.
#pragma once

#include "device/engine/nvram.h"

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace varn::engine {

/// The part ("clean", the rollers' cleaning, "rollers" or "pad") is due in so many pages from now,
/// and that often again from each service. Throws std::runtime_error, with words for the user, for
/// another part or a number that its field cannot hold.
void set_wear(Nvram &nvram, std::string_view part, std::uint32_t pages);

/// Leaves the marker file that makes the alert rise whatever was counted: "clean", or "rollers",
/// which is the pad's too. Throws std::runtime_error.
void mark_wear(const std::filesystem::path &root, std::string_view part);

/// For each part its interval and the pages since its last service.
void describe_wear(const wire::NvramTable &table, nlohmann::json &state);

} // namespace varn::engine
