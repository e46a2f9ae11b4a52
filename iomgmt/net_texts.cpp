/// Small texts around the net service: names, escapes, values between tags.

#include "varn/net_service.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

namespace {

std::string_view escape_of(const char &c) {
    switch (c) {
    case '"':
        return "&quot;";
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return {&c, 1};
    }
}

} // namespace

extern "C" {

int32_t Get_Interfance_ID(const char *text) {
    constexpr const char *names[] = {"eth0", "wlan0", "wlan1"};
    for (int32_t id = 0; text != nullptr && id < 3; ++id)
        if (strstr(text, names[id]) != nullptr)
            return id;
    return 0;
}

void int2str(int32_t value, char *out) { snprintf(out, 12, "%d", value); }

char *StrToStrXml(char *out, const char *in) {
    if (out == nullptr || in == nullptr)
        return nullptr;
    // Through a text of its own: `in` may be `out`.
    std::string escaped;
    for (const char *c = in; *c != '\0'; ++c) {
        const std::string_view piece = escape_of(*c);
        if (escaped.size() + piece.size() >= VARN_ESCAPED_SIZE)
            break;
        escaped += piece;
    }
    memset(out, 0, strnlen(out, VARN_ESCAPED_SIZE));
    memcpy(out, escaped.c_str(), escaped.size() + 1);
    return out;
}

int32_t Hex2Ascii(char *out, const char *in) {
    if (out == nullptr || in == nullptr)
        return 0;
    int32_t result = 1;
    while (*in != '\0') {
        const char pair[3] = {in[0], in[1], '\0'};
        const auto byte = static_cast<unsigned char>(strtol(pair, nullptr, 16));
        if (isprint(byte) == 0) {
            printf("Hex2Ascii Fail ");
            result = 0;
        }
        *out++ = static_cast<char>(byte);
        in += pair[1] != '\0' ? 2 : 1;
    }
    *out = '\0';
    return result;
}

int32_t isVaildIPv6(const char *text) {
    in6_addr address;
    if (text != nullptr && inet_pton(AF_INET6, text, &address) == 1)
        return 1;
    printf("Invaild IPv6 address %s\n", text != nullptr ? text : "");
    return -1;
}

int32_t scan_tag_text(const char *text, const char *open_tag, const char *close_tag, char *out,
                      uint32_t limit) {
    constexpr size_t longest = 3500;
    if (text == nullptr || open_tag == nullptr || close_tag == nullptr || out == nullptr)
        return 0;
    const char *open = strstr(text, open_tag);
    if (open == nullptr)
        return 0;
    const char *begin = open + strlen(open_tag);
    const char *end = strstr(begin, close_tag);
    if (end == nullptr)
        return 0;
    const auto length = static_cast<size_t>(end - begin);
    if (limit == 0) {
        const size_t taken = std::min(length, longest - 1);
        memcpy(out, begin, taken);
        out[taken] = '\0';
        return 1;
    }
    const size_t width = std::min<size_t>(limit, longest);
    const size_t taken = length <= width ? length : width - 1;
    memcpy(out, begin, taken);
    memset(out + taken, 0, width - taken);
    return 1;
}
}
