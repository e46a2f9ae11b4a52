/// The adapters that have resources of their own, and the steps behind their resources.
#pragma once

#include "iomgmt/status_block.h"

#include <cstdint>

namespace varn::net {

/// The interface of "eth0", "wifi0" or "wifi1"; eth0 for any other name.
Interface interface_of(const char *adapter);

} // namespace varn::net
