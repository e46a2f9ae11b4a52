/// The directory that stands for the device's file systems.
#pragma once

#include "device/wire/local_socket.h"

#include <filesystem>
#include <string>

namespace varn::web {

/// Prepares the tree for a start and keeps other servers out of it. What a device has on volatile
/// or read-only storage ("/tmp", "/web", "/sys", "/proc") is put back to the start-up content;
/// what it keeps ("/datafs", "/etc", "/var") is only completed.
class DeviceTree {
public:
    /// root      made when it is not there
    /// source    start-up content
    /// Throws std::runtime_error with a text for people: the directory is in use, is something
    /// else than a device tree, or cannot be written.
    DeviceTree(const std::filesystem::path &root, const std::filesystem::path &source);

    const std::string &root() const { return root_; }

private:
    void lock();

    std::string root_; ///< absolute
    wire::Descriptor lock_;
};

/// share/varn/rootfs beside the directory of the running program.
std::filesystem::path startup_content();
/// Directory of the running program.
std::filesystem::path program_directory();

} // namespace varn::web
