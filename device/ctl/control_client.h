/// Client of the engine's control socket: what a person does at the device.
#pragma once

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace varn::ctl {

struct NoEngine : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Sends one request to the engine that serves the tree and gives its answer. Throws NoEngine, or
/// std::runtime_error with what the engine objects to.
nlohmann::json ask(const std::string &root, const nlohmann::json &request);

} // namespace varn::ctl
