/// Brings a picture to the scan resolution, row by row: first down the page, then across.
///
/// Both directions use weights that add up to 2^13. The three channels of a pixel lie 21 bits
/// apart in a 64-bit word, so that one multiplication weighs them all.
#include "device/engine/pictures/picture_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>
#include <vector>

namespace varn::engine {
namespace {

constexpr unsigned weight_bits = 13;
constexpr std::uint32_t weight_one = 1U << weight_bits;

constexpr std::uint64_t in_each_lane(std::uint64_t value) {
    return value | value << 21 | value << 42;
}

std::uint64_t spread(Pixel pixel) {
    return std::uint64_t{pixel & 0xFF} | std::uint64_t{pixel & 0xFF00} << 13 |
           std::uint64_t{pixel & 0xFF0000} << 26;
}

Pixel gather(std::uint64_t lanes) {
    return static_cast<Pixel>((lanes & 0xFF) | (lanes >> 13 & 0xFF00) | (lanes >> 26 & 0xFF0000));
}

/// A weighted sum, brought back to eight bits a lane.
std::uint64_t settle(std::uint64_t sum) {
    return (sum + in_each_lane(weight_one / 2)) >> weight_bits & in_each_lane(0xFF);
}

/// The neighbouring source positions that make one scanned position; none beside the picture.
struct Taps {
    std::uint32_t first = 0;
    std::vector<std::uint32_t> weights;
};

/// Taps of scanned position `at`, which covers `step` source positions of `size`.
void find_taps(Taps &taps, double at, double step, std::uint32_t size) {
    taps.weights.clear();
    const double begin = at * step;
    if (begin + step / 2 >= size || begin + step / 2 < 0)
        return;
    double from = 0;
    double to = 0;
    if (step >= 1) { // the average of what is covered
        from = std::max(begin, 0.0);
        to = std::min<double>(begin + step, size);
    } else { // between the two nearest centres, which is the average of one position's width
        from = std::clamp<double>(begin + step / 2 - 0.5, 0, size - 1);
        to = from + 1;
    }
    taps.first = static_cast<std::uint32_t>(from);
    const auto end = std::min(static_cast<std::uint32_t>(std::ceil(to - 1e-9)), size);
    std::uint32_t left = weight_one;
    for (std::uint32_t k = taps.first; k < end; ++k) {
        const double covered = std::min<double>(k + 1, to) - std::max<double>(k, from);
        const auto weight =
            static_cast<std::uint32_t>(std::lround(covered / (to - from) * weight_one));
        taps.weights.push_back(std::min(weight, left));
        left -= taps.weights.back();
    }
    *std::ranges::max_element(taps.weights) += left; // rounding must not darken the picture
}

class ScannedPicture : public RowSource {
public:
    ScannedPicture(std::unique_ptr<PictureReader> picture, const ScanArea &area)
        : picture_(std::move(picture)), area_(area), x_step_(picture_->x_dpi() / area.x_dpi),
          y_step_(picture_->y_dpi() / area.y_dpi), height_(picture_->height()),
          newest_(picture_->width()), older_(picture_->width()), sum_(picture_->width()) {
        find_columns();
    }

    void read(Pixel *rows, unsigned count) override {
        for (unsigned i = 0; i < count; ++i)
            read_row(rows + std::size_t{area_.width} * i);
    }

    SheetExtent sheet() const override {
        const double rows = std::ceil(height_ / y_step_ - 0.5) - area_.y;
        const auto height = static_cast<std::uint32_t>(
            std::clamp<double>(rows, 0, static_cast<double>(area_.height)));
        return {static_cast<std::uint32_t>(columns_.size()), height};
    }

private:
    struct Column {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };

    void find_columns() {
        Taps taps;
        for (std::uint32_t x = 0; x < area_.width; ++x) {
            find_taps(taps, area_.x + double{1} * x, x_step_, picture_->width());
            if (taps.weights.empty())
                break;
            columns_.push_back({taps.first, static_cast<std::uint32_t>(taps.weights.size())});
            weights_.insert(weights_.end(), taps.weights.begin(), taps.weights.end());
        }
        same_columns_ = weights_.size() == columns_.size() && x_step_ == 1;
    }

    void read_row(Pixel *row) {
        find_taps(taps_, double{1} * area_.y + line_, y_step_, height_);
        ++line_;
        if (taps_.weights.empty() || columns_.empty() || !scan_down(row))
            std::fill_n(row, area_.width, area_.background);
        else
            std::fill(row + columns_.size(), row + area_.width, area_.background);
    }

    /// One scanned row; false when the file turns out to end here.
    bool scan_down(Pixel *row) {
        if (taps_.weights.size() == 1) {
            const Pixel *source = source_row(taps_.first);
            if (source)
                scan_across(row, [source](std::uint32_t x) { return spread(source[x]); });
            return source != nullptr;
        }
        std::ranges::fill(sum_, 0);
        for (std::uint32_t k = 0; k < taps_.weights.size(); ++k) {
            const Pixel *source = source_row(taps_.first + k);
            if (!source)
                return false;
            const std::uint64_t weight = taps_.weights[k];
            for (std::size_t x = 0; x < sum_.size(); ++x)
                sum_[x] += spread(source[x]) * weight;
        }
        scan_across(row, [this](std::uint32_t x) { return settle(sum_[x]); });
        return true;
    }

    template <typename At>
    void scan_across(Pixel *row, const At &at) {
        if (same_columns_) {
            for (std::size_t x = 0; x < columns_.size(); ++x)
                row[x] = gather(at(columns_[x].first));
            return;
        }
        const std::uint32_t *weight = weights_.data();
        for (const Column &column : columns_) {
            std::uint64_t sum = 0;
            for (std::uint32_t k = 0; k < column.count; ++k)
                sum += at(column.first + k) * *weight++;
            *row++ = gather(settle(sum));
        }
    }

    /// Rows are asked for in order, with at most one step back. Null where the file is damaged;
    /// the sheet ends there.
    const Pixel *source_row(std::uint32_t index) {
        while (rows_read_ <= index) {
            std::swap(newest_, older_);
            if (!picture_->next_row(newest_.data())) {
                height_ = std::min(height_, rows_read_);
                return nullptr;
            }
            ++rows_read_;
        }
        return index + 1 == rows_read_ ? newest_.data() : older_.data();
    }

    std::unique_ptr<PictureReader> picture_;
    ScanArea area_;
    double x_step_; ///< source positions of one scanned position
    double y_step_;
    std::uint32_t height_;
    std::uint32_t line_ = 0;
    std::uint32_t rows_read_ = 0;
    std::vector<Pixel> newest_;
    std::vector<Pixel> older_;
    std::vector<std::uint64_t> sum_;
    std::vector<Column> columns_;
    std::vector<std::uint32_t> weights_; ///< of all columns, in order
    bool same_columns_ = false;
    Taps taps_;
};

} // namespace

std::unique_ptr<RowSource> scan_picture(std::unique_ptr<PictureReader> picture,
                                        const ScanArea &area) {
    return std::make_unique<ScannedPicture>(std::move(picture), area);
}

} // namespace varn::engine
