#pragma once

#include <filesystem>

namespace varn::wire {

/// Makes the root of a device tree where there is none, with its parents. It is its owner's alone:
/// the library's tickets below it are readable by all and hold pass phrases while they are asked
/// for. A root that is there keeps its mode. Throws std::filesystem::filesystem_error.
void make_device_root(const std::filesystem::path &root);

} // namespace varn::wire
