/// Hands a scan's blocks to the client that takes its images.
#pragma once

#include "device/engine/engine.h"
#include "device/engine/server.h"

namespace varn::engine {

void serve_images(Engine &engine, Client &client);

} // namespace varn::engine
