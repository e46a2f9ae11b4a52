#include "frame/root.h"

#include "varn/base.h"

#include <cstdlib>
#include <limits.h>
#include <sys/stat.h>

namespace varn {
namespace {

constexpr size_t root_limit = 3000;

/// Never destroyed: a receive thread may outlive the end of main.
std::string &root() {
    static auto *dir = new std::string;
    return *dir;
}

} // namespace

std::string device_path(std::string_view path) {
    std::string full;
    full.reserve(root().size() + path.size());
    full += root();
    full += path;
    return full;
}

std::string shell_path(std::string_view path) {
    if (root().empty())
        return std::string(path);
    std::string word = "'";
    for (char c : root())
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    word += path;
    word += '\'';
    return word;
}

void run_shell(const std::string &command) {
    [[maybe_unused]] const int status = system(command.c_str());
}

} // namespace varn

int32_t VARN_SetRoot(const char *dir) {
    if (dir == nullptr || *dir == '\0') {
        varn::root().clear();
        return 0;
    }
    char *absolute = realpath(dir, nullptr);
    if (absolute == nullptr)
        return -1;
    std::string root = absolute;
    free(absolute);
    struct stat info {};
    if (stat(root.c_str(), &info) != 0 || !S_ISDIR(info.st_mode) || root.size() > varn::root_limit)
        return -1;
    varn::root() = root == "/" ? std::string() : root;
    return 0;
}
