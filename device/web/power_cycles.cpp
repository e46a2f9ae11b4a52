#include "device/web/power_cycles.h"

#include <cstdio>
#include <fstream>

namespace varn::web {

int count_power_cycle(const std::string &root) {
    constexpr int most = 1'000'000'000;
    const std::string path = root + "/var/power-cycles";
    int count = 0;
    if (!(std::ifstream(path) >> count) || count < 0 || count >= most)
        count = 0;
    ++count;
    const std::string fresh = path + ".new";
    std::ofstream file(fresh);
    file << count << '\n';
    file.close();
    if (file)
        std::rename(fresh.c_str(), path.c_str());
    return count;
}

} // namespace varn::web
