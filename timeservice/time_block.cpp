#include "timeservice/time_block.h"

#include <cstdio>
#include <ctime>

int32_t FormratTZStr(char *out, int32_t minutes) {
    constexpr size_t room = 16;
    if (out == nullptr)
        return 0;
    snprintf(out, room, "%c%02d:%02d", minutes > 0 ? '+' : '-', minutes / 60, minutes % 60);
    printf("FormratTZStr===>%s\n", out);
    return 0;
}

namespace varn::timeservice {

TimeBlock read_time_block() {
    TimeBlock block = {};
    read_block(block, MVTC_PARAM_TIME_SERVICE);
    return block;
}

std::string time_stamp(const tm &time, int32_t offset_minutes) {
    char text[64] = "";
    if (strftime(text, sizeof text, "%Y-%m-%dT%X", &time) == 0)
        text[0] = '\0';
    char offset[16];
    FormratTZStr(offset, offset_minutes);
    return std::string(text) + offset;
}

} // namespace varn::timeservice
