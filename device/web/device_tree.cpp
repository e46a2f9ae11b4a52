#include "device/web/device_tree.h"

#include "device/wire/device_root.h"
#include "device/wire/places.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <unistd.h>

namespace varn::web {
namespace {

namespace fs = std::filesystem;

constexpr const char *volatile_directories[] = {"tmp", "usr", "web", "sys", "proc"};
constexpr const char *kept_directories[] = {"datafs", "etc", "var", "run"};
constexpr char server_lock[] = "/run/varn/varnd.lock";

/// Nothing is thrown away in a directory that was not made for this.
bool may_be_filled(const fs::path &root) {
    if (fs::exists(root / "web/eSCL") && fs::exists(root / "tmp/xml_tickets"))
        return true;
    for (const auto &entry : fs::directory_iterator(root))
        if (entry.path().filename() != "run" && entry.path().filename() != "datafs" &&
            entry.path().filename() != "var")
            return false;
    return true;
}

/// The content without its own root, whatever the modes that an installation gave it: the library
/// edits some of the files.
void copy_content(const fs::path &from, const fs::path &to, fs::copy_options existing) {
    if (!fs::exists(from))
        return;
    fs::copy(from, to, fs::copy_options::recursive | existing);
    for (const auto &entry : fs::recursive_directory_iterator(to))
        if (!entry.is_symlink())
            fs::permissions(entry, fs::perms::owner_read | fs::perms::owner_write,
                            fs::perm_options::add);
}

void fill(const fs::path &root, const fs::path &source) {
    for (const char *name : volatile_directories) {
        fs::remove_all(root / name);
        fs::create_directories(root / name);
        copy_content(source / name, root / name, fs::copy_options::overwrite_existing);
    }
    for (const char *name : kept_directories) {
        fs::create_directories(root / name);
        copy_content(source / name, root / name, fs::copy_options::skip_existing);
    }
    fs::create_directories(root / "var/log");
}

} // namespace

DeviceTree::DeviceTree(const fs::path &root, const fs::path &source) {
    try {
        wire::make_device_root(root);
        root_ = fs::canonical(root);
        if (root_ == "/")
            throw std::runtime_error("the root of the machine cannot be a device tree");
        if (!may_be_filled(root_))
            throw std::runtime_error(root_ + " is not empty and holds no device tree");
        if (!fs::exists(source / "web/eSCL/ScannerCapabilities"))
            throw std::runtime_error("no start-up content in " + source.string());
        lock();
        fill(root_, source);
    } catch (const fs::filesystem_error &error) {
        throw std::runtime_error(std::string("cannot prepare the device tree: ") + error.what());
    }
}

void DeviceTree::lock() {
    fs::create_directories(root_ + wire::run_dir);
    const std::string path = root_ + server_lock;
    lock_ = wire::Descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    if (!lock_)
        throw std::runtime_error("cannot open " + path + ": " + std::strerror(errno));
    if (flock(lock_.get(), LOCK_EX | LOCK_NB) != 0)
        throw std::runtime_error("another varnd serves " + root_);
}

fs::path program_directory() { return fs::read_symlink("/proc/self/exe").parent_path(); }

fs::path startup_content() { return program_directory().parent_path() / "share/varn/rootfs"; }

} // namespace varn::web
