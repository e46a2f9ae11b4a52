/// The tone map computed step by step, for comparison: nothing is left out or shared.
#pragma once

#include <cstdint>
#include <vector>

struct PlainProperties {
    double highlight, shadow, brightness, contrast, gamma;
};

/// 65536 entries of 0 to `top`.
std::vector<int> plain_tonemap(const PlainProperties &properties, int top);
/// The engine's table: entry k is the smallest input whose level is above k.
std::vector<int> plain_table(const std::vector<int> &curve);
