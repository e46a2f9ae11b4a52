/// What a new device holds in its stores.
#pragma once

#include "device/engine/files.h"

namespace varn::engine {

/// name   of the file in the store, as Storage makes it; what has no content of its own is zeros
Bytes factory_content(const std::string &name, std::size_t size);

} // namespace varn::engine
