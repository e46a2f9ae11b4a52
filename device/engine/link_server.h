/// Serves the mvtc_* operations.
#pragma once

#include "device/engine/engine.h"
#include "device/engine/server.h"

namespace varn::engine {

void serve_link(Engine &engine, Client &client);

} // namespace varn::engine
