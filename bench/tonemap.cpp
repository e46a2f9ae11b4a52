/// The tone map against the plain computation of the tests.

#include "bench/pairs.h"
#include "tests/tonemap/plain_tonemap.h"
#include "varn/escl_tone.h"

#include <algorithm>
#include <cstdio>

namespace varn::bench {
namespace {

constexpr int top = 65535;
constexpr double tone_target = 1 / 5.0;

void set(const PlainProperties &p) {
    c_SetPropDouble(TM_HIGHLIGHT, p.highlight);
    c_SetPropDouble(TM_SHADOW, p.shadow);
    c_SetPropDouble(TM_BRIGHTNESS, p.brightness);
    c_SetPropDouble(TM_CONTRAST, p.contrast);
    c_SetPropDouble(TM_GAMMA, p.gamma);
}

std::vector<uint16_t> &curve() {
    static std::vector<uint16_t> entries(top + 1);
    return entries;
}

bool compute(const PlainProperties &p) {
    uint16_t *out = curve().data();
    set(p);
    return c_GetContoneTonemap(out, out, out, top + 1, 2, top) == 0;
}

} // namespace

void add_tone_map() {
    static const struct {
        const char *name;
        PlainProperties properties;
    } rows[] = {
        {"Tone map, scanner's default", {0.745, 0.047, 0, 0, 1.8}},
        {"Tone map, brighter and more contrast", {0.745, 0.047, 0.2, 0.3, 1.8}},
        {"Tone map, darker and less contrast", {0.745, 0.047, -0.5, -0.3, 1.8}},
        {"Tone map, as linear as it gets", {1, 0, 0, 0, 1}},
    };
    for (const auto &row : rows) {
        const PlainProperties &p = row.properties;
        const bool equal = compute(p) && std::ranges::equal(plain_tonemap(p, top), curve());
        if (!equal)
            fprintf(stderr, "%s: not what the plain computation gives\n", row.name);
        add({row.name, [=, &p] { return equal && compute(p); },
             [&p] { return plain_tonemap(p, top).size() == top + 1; }, tone_target});
    }
}

} // namespace varn::bench
