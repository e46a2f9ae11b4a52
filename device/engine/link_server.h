/// Serves the mvtc_* operations.
#pragma once

#include "device/engine/engine.h"
#include "device/engine/server.h"

namespace varn::engine {

/// settle   called before a scan starts: the settings that a host sends on the action socket have
///          no answer, and must not arrive behind the start
void serve_link(Engine &engine, Client &client, const std::function<void()> &settle);

} // namespace varn::engine
