#include "device/engine/pictures/picture_file.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace varn::engine {

namespace {

/// A PNG counts in whole pixels a metre: 300 dpi comes back as 299.9994, and a picture that fits
/// the scan pixel by pixel would have to be resampled.
double rounded(double dpi) {
    return std::abs(dpi - std::round(dpi)) < 0.02 ? std::round(dpi) : dpi;
}

} // namespace

void PictureReader::set_resolution(double x_dpi, double y_dpi) {
    const bool sensible = x_dpi >= 10 && x_dpi <= 10000 && y_dpi >= 10 && y_dpi <= 10000 &&
                          width_ / x_dpi <= sheet_width_inches + 0.5;
    x_dpi_ = sensible ? rounded(x_dpi) : width_ / sheet_width_inches;
    y_dpi_ = sensible ? rounded(y_dpi) : x_dpi_;
}

std::unique_ptr<PictureReader> open_picture(const std::filesystem::path &path, double wanted_dpi) {
    std::FILE *file = std::fopen(path.c_str(), "rbe");
    if (!file)
        throw PictureError(std::strerror(errno));
    struct stat info = {};
    unsigned char start[4] = {};
    const bool regular = fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode);
    const std::size_t got = regular ? std::fread(start, 1, sizeof start, file) : 0;
    std::rewind(file);
    if (got == 4 && std::memcmp(start, "\x89PNG", 4) == 0)
        return open_png(file);
    if (got == 4 && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF)
        return open_jpeg(file, wanted_dpi);
    std::fclose(file);
    throw PictureError(regular ? "neither a PNG nor a JPEG picture" : "not a file");
}

void check_picture(const std::filesystem::path &path) {
    const auto picture = open_picture(path);
    std::vector<Pixel> row(picture->width());
    for (std::uint32_t y = 0; y < picture->height(); ++y)
        if (!picture->next_row(row.data()))
            throw PictureError("the picture is damaged at line " + std::to_string(y + 1));
}

} // namespace varn::engine
