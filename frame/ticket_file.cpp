#include "frame/ticket_file.h"

namespace varn {

std::string read_whole(int fd) {
    std::string text;
    char part[8192];
    for (ssize_t n; (n = read(fd, part, sizeof part)) > 0;)
        text.append(part, static_cast<size_t>(n));
    return text;
}

} // namespace varn
