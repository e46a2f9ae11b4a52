#include "device/engine/pictures/survey.h"

#include <algorithm>
#include <vector>

namespace varn::engine {
namespace {

/// Difference between a pixel's strongest and weakest channel that the eye takes for colour.
constexpr unsigned colour_difference = 40;
/// Difference in brightness from the paper that is a mark.
constexpr unsigned mark_difference = 24;
/// No paper is darker.
constexpr unsigned darkest_paper = 128;

// Shares of the page, by level.
constexpr std::array<double, 5> marks_on_blank = {0.0002, 0.001, 0.003, 0.008, 0.02};
constexpr std::array<double, 5> colour_needed = {0.05, 0.02, 0.005, 0.001, 0.0002};

double at_level(const std::array<double, 5> &shares, unsigned level) {
    return shares[std::min<std::size_t>(level, shares.size() - 1)];
}

} // namespace

Survey::Survey(RowSource &rows, const ScanArea &area) {
    const SheetExtent sheet = rows.sheet();
    std::vector<Pixel> row(area.width);
    const std::int64_t first = std::max<std::int64_t>(-std::int64_t{area.y}, 0);
    for (std::uint32_t y = 0; y < sheet.height; ++y) {
        rows.read(row.data(), 1);
        if (y >= first)
            std::for_each_n(row.begin(), sheet.width, [this](Pixel pixel) { count(pixel); });
    }
}

void Survey::count(Pixel pixel) {
    const unsigned red = pixel >> 16 & 0xFF;
    const unsigned green = pixel >> 8 & 0xFF;
    const unsigned blue = pixel & 0xFF;
    ++histogram_[(red * 77 + green * 150 + blue * 29) >> 8];
    ++total_;
    const auto [weakest, strongest] = std::minmax({red, green, blue});
    coloured_ += strongest - weakest > colour_difference ? 1 : 0;
}

unsigned Survey::paper() const {
    return static_cast<unsigned>(std::ranges::max_element(histogram_) - histogram_.begin());
}

unsigned Survey::percentile(double share) const {
    std::uint64_t below = 0;
    for (unsigned level = 0; level < histogram_.size(); ++level) {
        below += histogram_[level];
        if (static_cast<double>(below) > share * static_cast<double>(total_))
            return level;
    }
    return 255;
}

bool Survey::is_blank(unsigned level) const {
    if (total_ == 0)
        return true; // nothing of the sheet was under the sensor
    const unsigned white = paper();
    if (white < darkest_paper)
        return false;
    std::uint64_t marks = coloured_;
    for (unsigned i = 0; i < histogram_.size(); ++i)
        if (i + mark_difference < white || i > white + mark_difference)
            marks += histogram_[i];
    return static_cast<double>(marks) <=
           at_level(marks_on_blank, level) * static_cast<double>(total_);
}

bool Survey::has_colour(unsigned level) const {
    return static_cast<double>(coloured_) >=
           std::max(at_level(colour_needed, level) * static_cast<double>(total_), 1.0);
}

Survey::Exposure Survey::exposure() const {
    constexpr unsigned least_contrast = 48;
    const unsigned white = std::max(paper(), percentile(0.9));
    const unsigned black = std::min(percentile(0.005), darkest_paper / 2);
    if (total_ == 0 || white < darkest_paper || white - black < least_contrast)
        return {};
    return {black, white};
}

} // namespace varn::engine
