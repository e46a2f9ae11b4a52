/// Serves varnctl: one JSON object a line, one answer a line.
#pragma once

#include "device/engine/engine.h"
#include "device/engine/server.h"

namespace varn::engine {

void serve_control(Engine &engine, Client &client);

} // namespace varn::engine
