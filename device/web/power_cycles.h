/// How often the device was switched on.
#pragma once

#include <string>

namespace varn::web {

/// Counts one more and returns it, from 1 on. Kept in the device tree; a tree that cannot be
/// written or was damaged counts from 1 again. root      of the device tree
int count_power_cycle(const std::string &root);

} // namespace varn::web
