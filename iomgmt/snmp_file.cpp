#include "iomgmt/snmp_file.h"

#include "frame/guards.h"
#include "frame/root.h"
#include "varn/net_service.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>

namespace varn::net {
namespace {

constexpr char snmp_file[] = "/datafs/snmp.xml";

} // namespace

int32_t read_snmp(SnmpSettings &settings) {
    // The template with four values at their limits; the file is nobody else's.
    constexpr size_t longest = 3500;
    const UniqueFd file(open(device_path(snmp_file).c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.ok())
        return -1;
    char text[longest + 1] = "";
    const ssize_t size = read(file.get(), text, longest);
    if (size < 0)
        return -1;
    const struct {
        const char *open_tag;
        const char *close_tag;
        char *value;
        uint32_t limit;
    } rows[] = {
        {"<accessRW>", "</accessRW>", settings.access, 10},
        {"<defaultGetCommunity>", "</defaultGetCommunity>", settings.default_get, 10},
        {"<getCommunity>", "</getCommunity>", settings.get_community, 256},
        {"<setCommunity>", "</setCommunity>", settings.set_community, 256},
    };
    for (const auto &row : rows)
        scan_tag_text(text, row.open_tag, row.close_tag, row.value, row.limit);
    return static_cast<int32_t>(size);
}

void write_snmp(const SnmpSettings &settings) {
    std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?><SNMP><accessRW>";
    text.append(settings.access).append("</accessRW><defaultGetCommunity>");
    text.append(settings.default_get).append("</defaultGetCommunity><getCommunity>");
    text.append(settings.get_community).append("</getCommunity><setCommunity>");
    text.append(settings.set_community).append("</setCommunity></SNMP>");

    // A new file takes the old one's place, so that the agent never reads half of it.
    const std::string path = device_path(snmp_file);
    const std::string fresh = path + ".new";
    {
        const UniqueFd file(
            open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
        if (!file.ok() ||
            write(file.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            return;
    }
    rename(fresh.c_str(), path.c_str());
    run_shell(shell_path("/usr/bin/RestartSnmp"));
}

void set_community(char (&name)[257], const char *requested) {
    if (requested == nullptr)
        return;
    memset(name, 0, sizeof name);
    // 255 bytes, so that the next read finds the name terminated.
    if (strcmp(requested, "NO SET") != 0)
        memcpy(name, requested, strnlen(requested, 255));
}

} // namespace varn::net
