#include "device/engine/files.h"

#include "device/wire/local_socket.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace varn::engine {
namespace fs = std::filesystem;
using wire::Descriptor;

std::optional<Bytes> read_file(const fs::path &path, std::size_t limit) {
    const Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info = {};
    if (!fd || fstat(fd.get(), &info) < 0 || !S_ISREG(info.st_mode) ||
        static_cast<std::size_t>(info.st_size) > limit)
        return std::nullopt;
    Bytes content(static_cast<std::size_t>(info.st_size));
    std::size_t have = 0;
    while (have < content.size()) {
        const ssize_t got = read(fd.get(), content.data() + have, content.size() - have);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return std::nullopt;
        have += static_cast<std::size_t>(got);
    }
    return content;
}

namespace {

bool write_whole(int fd, std::span<const std::byte> content) {
    while (!content.empty()) {
        const ssize_t wrote = write(fd, content.data(), content.size());
        if (wrote < 0 && errno == EINTR)
            continue;
        if (wrote <= 0)
            return false;
        content = content.subspan(static_cast<std::size_t>(wrote));
    }
    return true;
}

} // namespace

bool replace_file(const fs::path &path, std::span<const std::byte> content, unsigned mode) {
    std::error_code error;
    fs::create_directories(path.parent_path(), error);
    const fs::path next = path.parent_path() / ("." + path.filename().string() + ".new");
    Descriptor fd(open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    const bool written = fd && write_whole(fd.get(), content) && fsync(fd.get()) == 0 &&
                         rename(next.c_str(), path.c_str()) == 0;
    if (!written) {
        log_line("cannot write " + path.string() + ": " + std::strerror(errno));
        unlink(next.c_str());
        return false;
    }
    const Descriptor dir(open(path.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (dir)
        fsync(dir.get());
    return true;
}

void log_line(const std::string &text) {
    const std::string line = "varn-engine: " + text + "\n";
    std::fputs(line.c_str(), stderr);
}

} // namespace varn::engine
