/// Serves the action commands: status, stop, and the records that a host sets before a scan.
#pragma once

#include "device/engine/engine.h"
#include "device/engine/server.h"

namespace varn::engine {

void serve_actions(Engine &engine, Client &client);

} // namespace varn::engine
