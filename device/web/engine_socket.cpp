#include "device/web/engine_socket.h"

#include "varn/escl_scan.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace varn::web {
namespace {

bool same_file(int a, int b) {
    struct stat first = {};
    struct stat second = {};
    return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

} // namespace

EngineSocket::EngineSocket(const std::string &root, const char *place)
    : identity_(unix_socket_connect(place)) {
    if (!identity_) // the path of the tree may be longer than a socket address
        identity_ = wire::connect_local(root, place);
    if (identity_)
        lent_ = fcntl(identity_.get(), F_DUPFD_CLOEXEC, 3);
}

EngineSocket::EngineSocket(EngineSocket &&other) noexcept
    : lent_(std::exchange(other.lent_, -1)), identity_(std::move(other.identity_)) {}

EngineSocket &EngineSocket::operator=(EngineSocket &&other) noexcept {
    if (this != &other) {
        close();
        lent_ = std::exchange(other.lent_, -1);
        identity_ = std::move(other.identity_);
    }
    return *this;
}

void EngineSocket::hang_up() const {
    if (identity_)
        shutdown(identity_.get(), SHUT_RDWR);
}

void EngineSocket::close() {
    if (lent_ > 0 && same_file(lent_, identity_.get()))
        ::close(lent_);
    lent_ = -1;
    identity_.reset();
}

} // namespace varn::web
