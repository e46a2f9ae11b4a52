#include "plain_tonemap.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr int N = 65536;
constexpr int V = 65535;

double interp(double x, double x0, double x1, double y0, double y1) {
    if (x1 == x0)
        return y1;
    const bool up = x1 > x0;
    if (up ? x < x0 : x > x0)
        return y0;
    if (up ? x > x1 : x < x1)
        return y1;
    return y0 + (y1 - y0) * ((x - x0) / (x1 - x0));
}

int scale(int v, int vmax, int omin, int omax) {
    if (vmax == 0)
        return omax;
    double r = (static_cast<double>(v) / vmax) * (omax - omin) + omin;
    if (v < 0)
        r = omin;
    if (v > vmax)
        r = omax;
    return r < 0 ? static_cast<int>(r - 0.499) : static_cast<int>(r + 0.499);
}

void line(std::vector<int> &map, int x0, int y0, int x1, int y1) {
    if (x0 == x1) {
        map.at(static_cast<size_t>(x0)) = std::min(y0, N - 1);
        return;
    }
    if (x0 > x1) {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    const long long step = static_cast<long long>(y1 - y0) * 32768 / (x1 - x0);
    long long at = static_cast<long long>(y0) * 32768;
    for (int x = x0; x <= x1; ++x) {
        if (x >= 0 && x < N)
            map[static_cast<size_t>(x)] =
                static_cast<int>(std::clamp<long long>(at >> 15, 0, N - 1));
        at += step;
    }
}

void resample(std::vector<int> &m, int K, int W, int lo, int hi) {
    if (W <= K)
        return;
    const double ratio = static_cast<double>(W - K) / (hi - lo);
    std::vector<unsigned> tmp(static_cast<size_t>(hi - lo) + 2, 0);
    size_t k = 0;
    int p = K;
    unsigned acc = 0;
    double frac = 0.0;
    while (true) {
        while (frac < 1.0 && p < W - 1) {
            const int value = m[static_cast<size_t>(p)];
            const unsigned sum = acc + static_cast<unsigned>(value * frac);
            if (k < tmp.size())
                tmp[k] = static_cast<unsigned>(sum / ratio);
            ++k;
            acc = static_cast<unsigned>(value * (1.0 - frac));
            frac = ratio + (frac - 1.0);
            ++p;
        }
        const int v = m[static_cast<size_t>(p)];
        if (++p >= W)
            break;
        acc += static_cast<unsigned>(v);
        frac -= 1.0;
    }
    const int low = m[static_cast<size_t>(K)];
    const int high = m[static_cast<size_t>(W)];
    for (int i = K; i < W; ++i)
        m[static_cast<size_t>(i)] =
            i < lo ? low : (i < hi ? static_cast<int>(tmp[static_cast<size_t>(i - lo)]) : high);
}

std::vector<int> gamma_map(double g) {
    std::vector<int> G(N);
    for (int i = 0; i < N; ++i)
        G[static_cast<size_t>(i)] = i;
    if (g < 0.99 || g > 1.01) {
        const double A = g > 1 ? (std::exp(g - 1) - 1) * 0.041340895 : 0;
        const double inv = 1 / g;
        for (int i = 0; i < N; i += 256) {
            const int e = i + 256 < N ? i + 256 : N - 1;
            int y1 = static_cast<int>(
                (N - 1) * ((1 + A) * std::pow((i + 256) / static_cast<double>(N - 1), inv) - A) +
                0.5);
            if (y1 >= N)
                y1 = N - 1;
            const int y0 = static_cast<int>(
                (N - 1) * ((1 + A) * std::pow(i / static_cast<double>(N - 1), inv) - A) + 0.5);
            line(G, i, y0, e, y1);
        }
        G[0] = 0;
    }
    int j = 1;
    while (static_cast<double>(G[static_cast<size_t>(j)]) / j > 4.0)
        ++j;
    line(G, 0, 0, j, G[static_cast<size_t>(j)]);
    return G;
}

} // namespace

std::vector<int> plain_tonemap(const PlainProperties &p, int top) {
    int S = static_cast<int>(p.shadow * 255);
    const int H = static_cast<int>(p.highlight * 255);
    const int B = std::clamp(static_cast<int>(p.brightness * 128), -127, 128);
    const int C = std::clamp(static_cast<int>(p.contrast * 128), -127, 128);
    if (S >= H)
        S = std::clamp(H - 1, 0, 255);
    const double h = H / 255.0;
    const double s = S / 255.0;
    int W = V;
    int Wo = V;
    if (B > 0)
        W = static_cast<int>(interp(B, 0, 128, h * V, V * 0.25) + 0.5);
    else if (B >= -25.4)
        W = static_cast<int>(interp(B, 0, -25.4, h * V, V) + 0.5);
    else
        Wo = static_cast<int>(interp(B, -25.4, -127, V, V * 0.75) + 0.5);
    int K = static_cast<int>(V * s);
    if (K > W)
        K = W - 1;

    std::vector<int> M(N);
    for (int i = 0; i < N; ++i)
        M[static_cast<size_t>(i)] = i;
    line(M, 0, 0, K, 0);
    line(M, K, 0, W, N - 1);
    line(M, W, N - 1, N - 1, N - 1);
    if (Wo != V)
        for (int &m : M)
            m = scale(m, V, 0, Wo);
    const std::vector<int> G = gamma_map(p.gamma);
    for (int &m : M)
        m = G[static_cast<size_t>(m)];
    if (C < 0) {
        const int o = (N * -C) / 384;
        for (int &m : M)
            m = scale(m, N - 1, o, N - 1);
    } else if (C > 0) {
        const int d = ((W - K) * C) / 384;
        const int hi = W - d;
        const int lo = K + d;
        if (lo <= hi && d != 0)
            resample(M, K, W, lo, hi);
    }
    std::vector<int> T(N);
    for (int i = 0; i < N; ++i)
        T[static_cast<size_t>(i)] =
            scale(M[static_cast<size_t>(scale(i, 65535, 0, N - 1))], N - 1, 0, top);
    return T;
}

std::vector<int> plain_table(const std::vector<int> &curve) {
    std::vector<int> table;
    for (int k = 0; k < 255; ++k) {
        const auto at =
            std::find_if(curve.begin(), curve.end(), [k](int value) { return value / 256 > k; });
        table.push_back(at != curve.end() ? static_cast<int>(at - curve.begin())
                        : table.empty()   ? 0
                                          : table.back());
    }
    return table;
}
