#include "device/web/interfaces.h"

#include "device/wire/local_socket.h"

#include <fcntl.h>
#include <unistd.h>

namespace varn::web {
namespace {

const char *link_file(Interface interface) {
    switch (interface) {
    case Interface::wlan0:
        return "/sys/class/net/wlan0/carrier";
    case Interface::wlan1:
        return "/sys/class/net/wlan1/carrier";
    case Interface::usb:
        return "/proc/kob_usbd/connect";
    case Interface::eth0:
    case Interface::https:
        break;
    }
    return "/sys/class/net/eth0/carrier";
}

} // namespace

std::string_view interface_name(Interface interface) {
    switch (interface) {
    case Interface::eth0:
        return "eth0";
    case Interface::wlan0:
        return "wlan0";
    case Interface::wlan1:
        return "wlan1";
    case Interface::usb:
        return "usb";
    case Interface::https:
        return "https";
    }
    return "";
}

bool has_link(const std::string &root, Interface interface) {
    const std::string path = root + link_file(interface);
    const wire::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char state = '0';
    return file && read(file.get(), &state, 1) == 1 && state != '0';
}

} // namespace varn::web
