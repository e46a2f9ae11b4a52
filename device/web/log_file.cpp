#include "device/web/log_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace varn::web {
namespace {

constexpr off_t size_limit = 8 * 1024 * 1024;
constexpr std::size_t buffer_size = 64 * 1024;

} // namespace

LogFile::LogFile(std::string path)
    : path_(std::move(path)), terminal_(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
    if (path_.empty()) {
        std::setvbuf(stdout, nullptr, _IOLBF, 0);
        return;
    }
    if (!open_new())
        throw std::runtime_error("cannot open " + path_ + ": " + std::strerror(errno));
    std::setvbuf(stdout, nullptr, _IOFBF, buffer_size);
}

bool LogFile::open_new() {
    const wire::Descriptor file(
        open(path_.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    return file && dup2(file.get(), STDOUT_FILENO) >= 0;
}

void LogFile::maintain() {
    std::fflush(stdout);
    struct stat info = {};
    if (path_.empty() || fstat(STDOUT_FILENO, &info) != 0 || info.st_size < size_limit)
        return;
    std::rename(path_.c_str(), (path_ + ".1").c_str());
    open_new(); // should it fail, the log goes on in the renamed file
}

void LogFile::say(const std::string &line) const {
    const std::string text = line + '\n';
    std::string_view rest = text;
    while (!rest.empty()) {
        const ssize_t n = write(terminal_.get(), rest.data(), rest.size());
        if (n < 0 && errno != EINTR)
            return; // nobody listens
        rest.remove_prefix(static_cast<std::size_t>(n < 0 ? 0 : n));
    }
}

} // namespace varn::web
