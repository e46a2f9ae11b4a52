#include "device/wire/device_root.h"

#include <cerrno>
#include <sys/stat.h>

namespace varn::wire {

namespace fs = std::filesystem;

void make_device_root(const fs::path &root) {
    fs::path full = fs::absolute(root).lexically_normal();
    if (!full.has_filename()) // a slash at the end
        full = full.parent_path();
    fs::create_directories(full.parent_path());
    if (mkdir(full.c_str(), S_IRWXU) == 0)
        return;
    const std::error_code error(errno, std::generic_category());
    if (!fs::is_directory(full))
        throw fs::filesystem_error("cannot make", full, error);
}

} // namespace varn::wire
