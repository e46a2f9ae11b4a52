#include "platform/cfg/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace varn::xmltree {
namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() { close(); }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return fd_; }
    bool close() {
        int fd = fd_;
        fd_ = -1;
        return fd < 0 || ::close(fd) == 0;
    }

private:
    int fd_;
};

bool write_all(int fd, std::string_view content) {
    while (!content.empty()) {
        ssize_t count = ::write(fd, content.data(), content.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// Opens a new file beside `target`; its name goes to `name`.
int create_beside(const std::string &target, std::string &name) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        name = target + "." + std::to_string(getpid()) + "-" + std::to_string(counter++) + ".new";
        int fd = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST)
            return fd;
    }
    return -1;
}

bool keep_mode_and_owner(int fd, const struct stat &old) {
    struct stat fresh = {};
    if (fstat(fd, &fresh) != 0)
        return false;
    if ((fresh.st_uid != old.st_uid || fresh.st_gid != old.st_gid) &&
        fchown(fd, old.st_uid, old.st_gid) != 0 && errno != EPERM)
        return false;
    return fchmod(fd, old.st_mode & 07777) == 0;
}

} // namespace

bool read_file(const char *path, std::size_t limit, std::string &content) {
    // Not blocking: a pipe in the file's place must not hang the caller.
    Descriptor fd(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info = {};
    if (fd.get() < 0 || fstat(fd.get(), &info) != 0)
        return false;
    if (!S_ISREG(info.st_mode) || static_cast<std::size_t>(info.st_size) > limit) {
        errno = S_ISREG(info.st_mode) ? EFBIG : EINVAL;
        return false;
    }
    content.resize(static_cast<std::size_t>(info.st_size));
    std::size_t filled = 0;
    while (filled < content.size()) {
        ssize_t count = ::read(fd.get(), content.data() + filled, content.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0) // somebody shortened it meanwhile
            break;
        filled += static_cast<std::size_t>(count);
    }
    content.resize(filled);
    return true;
}

bool replace_file(const char *path, std::string_view content) {
    char resolved[PATH_MAX];
    std::string target = realpath(path, resolved) ? resolved : path;
    struct stat old = {};
    bool exists = stat(target.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        errno = EINVAL;
        return false;
    }
    std::string present;
    if (exists && read_file(target.c_str(), content.size(), present) && present == content)
        return true;

    std::string name;
    Descriptor fd(create_beside(target, name));
    if (fd.get() < 0)
        return false;
    bool done = (!exists || keep_mode_and_owner(fd.get(), old)) && write_all(fd.get(), content) &&
                fsync(fd.get()) == 0 && fd.close() &&
                std::rename(name.c_str(), target.c_str()) == 0;
    if (!done) {
        int reason = errno;
        unlink(name.c_str());
        errno = reason;
    }
    return done;
}

} // namespace varn::xmltree
