/// A page of the scanner against the same page coded without a scanner around it.
#pragma once

#include <string>
#include <vector>

namespace varn::bench {

struct PageTimes {
    double first_byte_ms = 0; ///< of the image, since the POST
    double last_byte_ms = 0;
};

/// Scans the chart on the flatbed, A4 at 300 dpi, and waits until the scanner is idle again.
/// mode      "color" or "gray"
/// image     the JPEG file that came
/// Throws std::runtime_error when the scan fails.
PageTimes scan_page(int port, const std::string &mode, std::string &image);

/// The chart as the scan above sees it, in memory.
class PlainPage {
public:
    explicit PlainPage(bool colour);
    /// Codes the page as a JPEG file into `image`; milliseconds.
    double code(std::string &image) const;

private:
    bool colour_;
    std::vector<unsigned char> rows_; ///< four bytes a pixel in colour, else one
};

} // namespace varn::bench
