/// The tone curve of 65536 points, and its inversion into the engine's table.

#include "escl/tonemap/properties.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <numeric>

namespace varn {
namespace {

constexpr int32_t map_size = 65536;
constexpr int32_t map_top = map_size - 1;

using Map = uint16_t[map_size];

/// One computation: its maps and the points of its primary map.
struct ToneMapState {
    Map primary;
    Map gamma;
    Map work;
    int32_t black = 0;     ///< K
    int32_t white = 0;     ///< W
    int32_t white_out = 0; ///< Wo
};
/// The running computation; null outside one.
ToneMapState *running = nullptr;

/// Whole numbers of the properties: 255 steps for the points, 128 for brightness and contrast.
struct Parameters {
    int32_t shadow, highlight, brightness, contrast;
    double gamma;
};

Parameters whole_parameters() {
    Parameters p = {};
    p.shadow = static_cast<int32_t>(tone_property(TM_SHADOW) * 255);
    p.highlight = static_cast<int32_t>(tone_property(TM_HIGHLIGHT) * 255);
    p.brightness = std::clamp(static_cast<int32_t>(tone_property(TM_BRIGHTNESS) * 128), -127, 128);
    p.contrast = std::clamp(static_cast<int32_t>(tone_property(TM_CONTRAST) * 128), -127, 128);
    p.gamma = tone_property(TM_GAMMA);
    if (p.shadow >= p.highlight)
        p.shadow = std::clamp(p.highlight - 1, 0, 255);
    return p;
}

/// Brightness moves the white point in, or lowers the white that comes out.
void set_points(ToneMapState &state, const Parameters &p) {
    constexpr double darkest_input = -25.4;
    const double top = map_top;
    const double white = p.highlight / 255.0 * top;
    const double b = p.brightness;
    state.white_out = map_top;
    if (p.brightness > 0) {
        state.white = static_cast<int32_t>(cmap_interp(b, 0, 128, white, top * 0.25) + 0.5);
    } else if (b >= darkest_input) {
        state.white = static_cast<int32_t>(cmap_interp(b, 0, darkest_input, white, top) + 0.5);
    } else {
        state.white = map_top;
        state.white_out =
            static_cast<int32_t>(cmap_interp(b, darkest_input, -127, top, top * 0.75) + 0.5);
    }
    state.black = static_cast<int32_t>(top * (p.shadow / 255.0));
    if (state.black > state.white)
        state.black = state.white - 1;
}

/// cmap_scale_value for `v` of 0 to the top of the map and 0 <= omin <= omax, in whole numbers: no
/// product of theirs comes nearer to the limit of rounding, 0.499, than a double's error by far.
inline uint16_t rescaled(uint16_t v, uint16_t omin, uint16_t omax) {
    constexpr auto rounding = static_cast<uint32_t>(map_top * 499LL / 1000);
    const auto range = static_cast<uint16_t>(omax - omin);
    const uint32_t n = uint32_t{v} * range + rounding;
    // n divided by 65535, exact for every n up to the largest here.
    return static_cast<uint16_t>(((n + (n >> 16) + 1) >> 16) + omin);
}

/// A straight line in 15-bit fractions, with the ends included; points outside the map are passed
/// over.
void draw_line(Map &map, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    if (x0 == x1) {
        if (x0 >= 0 && x0 < map_size)
            map[x0] = static_cast<uint16_t>(std::clamp(std::min(y0, map_top), 0, map_top));
        return;
    }
    if (x0 > x1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const auto rise = static_cast<int32_t>(static_cast<uint32_t>(y1 - y0) << 15);
    const auto step = static_cast<uint32_t>(rise / (x1 - x0));
    const int32_t first = std::max(x0, 0);
    const int32_t end = std::min(x1, map_top) + 1;
    // Modulo 32 bits; no sum of 32 bits is above the top of the map once its fraction is gone.
    uint32_t sum = (static_cast<uint32_t>(y0) << 15) + step * static_cast<uint32_t>(first - x0);
    for (int32_t x = first; x < end; ++x, sum += step)
        map[x] = static_cast<uint16_t>(std::max(static_cast<int32_t>(sum) >> 15, 0));
}

/// Applies `f` to every entry. Below the black point and above the white point the map is level
/// until it is squeezed, so that one entry stands for each end.
template <typename F>
void change_primary(ToneMapState &state, F f) {
    Map &map = state.primary;
    const int32_t low = std::clamp(state.black, 0, map_top);
    const int32_t high = std::clamp(state.white, low, map_top);
    if (low > 0)
        std::fill_n(map, low, f(map[0]));
    for (int32_t i = low; i <= high; ++i)
        map[i] = f(map[i]);
    if (high < map_top)
        std::fill(map + high + 1, std::end(map), f(map[map_top]));
}

void rescale(ToneMapState &state, uint16_t omin, uint16_t omax) {
    change_primary(
        state, [=](uint16_t entry) { return static_cast<uint16_t>(rescaled(entry, omin, omax)); });
}

void draw_primary(ToneMapState &state) {
    draw_line(state.primary, 0, 0, state.black, 0);
    draw_line(state.primary, state.black, 0, state.white, map_top);
    draw_line(state.primary, state.white, map_top, map_top, map_top);
    if (state.white_out != map_top)
        rescale(state, 0, static_cast<uint16_t>(state.white_out));
}

/// A chain of 256 straight pieces. The ends of neighbours are one point, computed once.
void draw_gamma(ToneMapState &state, double g) {
    constexpr int32_t piece = map_size / 256;
    const double lift = g > 1 ? (exp(g - 1) - 1) * 0.041340895 : 0;
    const double inverse = 1 / g;
    const auto point = [&](int32_t x) {
        const double share = pow(static_cast<double>(x) / map_top, inverse);
        return static_cast<int32_t>(map_top * ((1 + lift) * share - lift) + 0.5);
    };
    int32_t y0 = point(0);
    for (int32_t x = 0; x < map_size; x += piece) {
        const int32_t y1 = point(x + piece);
        draw_line(state.gamma, x, y0, std::min(x + piece, map_top), std::min(y1, map_top));
        y0 = y1;
    }
    state.gamma[0] = 0;
}

/// No point of the toe is steeper than four.
void limit_toe(Map &gamma) {
    int32_t j = 1;
    while (j<map_top &&static_cast<double>(gamma[j]) / j> 4.0)
        ++j;
    draw_line(gamma, 0, 0, j, gamma[j]);
}

void compose(ToneMapState &state) {
    change_primary(state, [&state](uint16_t entry) { return state.gamma[entry]; });
}

/// Squeezes the stretch [black, white) of the map into [low, high): each entry is the mean of as
/// many neighbours as the stretch is longer, weighted at both ends by their fractions.
void squeeze(ToneMapState &state, int32_t low, int32_t high) {
    Map &map = state.primary;
    const int32_t length = high - low;
    if (state.white <= state.black || length < 1)
        return;
    const double ratio = static_cast<double>(state.white - state.black) / length;
    // The fraction of an entry counts in steps of 2^-52. The ratio is 1 to 3, a whole number of
    // such steps, so nothing is rounded: the sums are those of doubles, without their delay.
    constexpr uint64_t whole = uint64_t{1} << 52;
    const auto advance = static_cast<uint64_t>(ratio * static_cast<double>(whole));
    uint16_t *mean = state.work;
    std::fill_n(mean, length, uint16_t{0});
    uint64_t fraction = 0;
    uint32_t sum = 0;
    int32_t p = std::max(state.black, 0);
    for (int32_t k = 0; k < length && p < state.white - 1; ++k) {
        // The bits of a double of 1 to 2 are those of the fraction below its exponent.
        const double share = std::bit_cast<double>(std::bit_cast<uint64_t>(1.0) | fraction) - 1.0;
        const uint32_t total = sum + static_cast<uint32_t>(map[p] * share);
        mean[k] = static_cast<uint16_t>(static_cast<uint32_t>(total / ratio));
        sum = static_cast<uint32_t>(map[p] * (1.0 - share));
        // At most two whole entries lie between two fractions.
        fraction += advance;
        const auto step = static_cast<int32_t>(fraction / whole);
        fraction %= whole;
        const uint32_t second = map[p + 1];
        const uint32_t third = map[p + 2];
        sum += (step > 1 ? second : 0) + (step > 2 ? third : 0);
        p += step;
    }
    const int32_t start = std::max(state.black, 0);
    const uint16_t lowest = map[start];
    const uint16_t highest = map[state.white];
    std::fill(map + start, map + low, lowest);
    std::copy_n(mean, length, map + low);
    std::fill(map + high, map + state.white, highest);
}

void apply_contrast(ToneMapState &state, int32_t contrast) {
    if (contrast < 0) {
        rescale(state, static_cast<uint16_t>(map_size * -contrast / 384), map_top);
    } else if (contrast > 0) {
        const int32_t inset = (state.white - state.black) * contrast / 384;
        const int32_t low = state.black + inset;
        const int32_t high = state.white - inset;
        if (low <= high && inset != 0)
            squeeze(state, low, high);
    }
}

void apply_clear_text_slope(Map &map) {
    const double slope = tone_property(TM_CLEARTEXT_SLOPE);
    const auto single = static_cast<float>(slope);
    if (slope == 1.0 || single == 1.0F)
        return;
    constexpr float middle = map_top / 2.0F;
    for (uint16_t &entry : map)
        entry = static_cast<uint16_t>(
            static_cast<uint32_t>(middle + single * (static_cast<float>(entry) - middle)));
}

void compute(ToneMapState &state) {
    const Parameters p = whole_parameters();
    set_points(state, p);
    draw_primary(state);
    if (p.gamma < 0.99 || p.gamma > 1.01)
        draw_gamma(state, p.gamma);
    else
        std::iota(std::begin(state.gamma), std::end(state.gamma), uint16_t{0});
    limit_toe(state.gamma);
    compose(state);
    apply_contrast(state, p.contrast);
    apply_clear_text_slope(state.primary);
}

/// Entries of two bytes come out as they are: rescaling 65536 values to themselves changes none.
void put_out(const ToneMapState &state, void *out_r, void *out_g, void *out_b, bool one_byte) {
    const void *table = state.primary;
    size_t size = sizeof state.primary;
    uint8_t bytes[map_size];
    if (one_byte) {
        for (int32_t i = 0; i < map_size; ++i)
            bytes[i] = static_cast<uint8_t>(rescaled(state.primary[i], 0, 255));
        table = bytes;
        size = sizeof bytes;
    }
    memcpy(out_r, table, size);
    if (out_g != out_r)
        memcpy(out_g, table, size);
    if (out_b != out_r && out_b != out_g)
        memcpy(out_b, table, size);
}

bool sizes_allowed(int32_t entries, int32_t bytes_per) {
    return entries == map_size ||
           (bytes_per == 1 && (entries == 256 || entries == 1024 || entries == 4096));
}

void log_parameters(int32_t entries, int32_t bytes_per, int32_t max_value) {
    printf("%s......\n", "c_GetContoneTonemap");
    printf("\n\nVersion %2.2f\n", 1.0);
    printf("Contone Parameters  \n");
    printf("Entries   = %d\n", entries);
    printf("BytesPer  = %d\n", bytes_per);
    printf("MaxValue  = %d\n", max_value);
    printf("Highlight = %f\n", tone_property(TM_HIGHLIGHT));
    printf("Shadow    = %f\n", tone_property(TM_SHADOW));
    printf("Gamma     = %f\n", tone_property(TM_GAMMA));
    printf("Bright    = %f\n", tone_property(TM_BRIGHTNESS));
    printf("Contrast  = %f\n", tone_property(TM_CONTRAST));
}

} // namespace
} // namespace varn

double cmap_interp(double x, double x0, double x1, double y0, double y1) {
    if (x1 == x0)
        return y1;
    const double share = (x - x0) / (x1 - x0);
    if (share < 0)
        return y0;
    if (share > 1)
        return y1;
    return y0 + (y1 - y0) * share;
}

int32_t cmap_scale_value(int32_t v, int32_t vmax, int32_t omin, int32_t omax) {
    if (vmax == 0)
        return omax;
    double r = static_cast<double>(v) / vmax * (omax - omin) + omin;
    if (v < 0)
        r = omin;
    else if (v > vmax)
        r = omax;
    return static_cast<int32_t>(r >= 0 ? r + 0.499 : r - 0.499);
}

void cmap_map_line(int32_t which, int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
    if (varn::running != nullptr)
        varn::draw_line(which == 0 ? varn::running->primary : varn::running->gamma, x0, y0, x1, y1);
}

int32_t cmap_map_get(int32_t index, int32_t which) {
    if (varn::running == nullptr || index < 0 || index >= varn::map_size) {
        puts("(in < m_mapSize)");
        return 0;
    }
    return which == 0 ? varn::running->primary[index] : varn::running->gamma[index];
}

void cmap_map_set(int32_t index, int32_t value) {
    if (varn::running == nullptr || index < 0 || index >= varn::map_size) {
        puts("(out < m_mapSize)");
        return;
    }
    varn::running->primary[index] = static_cast<uint16_t>(value);
}

int32_t c_GetContoneTonemap(void *out_r, void *out_g, void *out_b, int32_t entries,
                            int32_t bytes_per, int32_t max_value) {
    varn::log_parameters(entries, bytes_per, max_value);
    if (!varn::sizes_allowed(entries, bytes_per) || out_r == nullptr || out_g == nullptr ||
        out_b == nullptr)
        return 1;
    const std::unique_ptr<varn::ToneMapState> state(new (std::nothrow) varn::ToneMapState);
    if (state == nullptr)
        return 1;
    varn::running = state.get();
    varn::compute(*state);
    varn::put_out(*state, out_r, out_g, out_b, bytes_per == 1);
    varn::running = nullptr;
    return 0;
}

int32_t TransferGamma2Tarvis(const uint16_t *curve, uint16_t *table, int32_t) {
    if (table == nullptr)
        return 0;
    if (curve == nullptr)
        return -1;
    constexpr auto open_entries = static_cast<int32_t>(std::size(pGammaTarvis_R));
    int32_t previous = 0;
    int32_t filled = 0;
    for (int32_t i = 0; i < varn::map_size; ++i) {
        const int32_t level = curve[i] >> 8;
        // A fall of one level is tolerated.
        if (level < previous - 1)
            return -1;
        for (; previous < level; ++previous) {
            table[filled++] = static_cast<uint16_t>(i);
            if (filled == open_entries)
                return 0;
        }
    }
    const uint16_t last = filled > 0 ? table[filled - 1] : 0;
    std::fill(table + filled, table + open_entries, last);
    return 0;
}
