/// The words behind "varnctl net" as a request to the engine.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace varn::ctl {

/// words   what follows "net"
/// returns null when the words make no sense
nlohmann::json net_request(const std::vector<std::string> &words);

/// What is in range, one network a line: signal, channel, security, name.
std::string network_list(const nlohmann::json &state);

} // namespace varn::ctl
