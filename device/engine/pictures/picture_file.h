/// PNG and JPEG files, row by row.
#pragma once

#include "device/engine/pictures/rows.h"

#include <filesystem>
#include <stdexcept>

namespace varn::engine {

/// The file is no picture that the engine can scan; what() says why, in words for the user.
struct PictureError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The scanner is this wide; a picture without a usable resolution fills the width.
inline constexpr double sheet_width_inches = 8.5;

class PictureReader {
public:
    virtual ~PictureReader() = default;

    std::uint32_t width() const { return width_; }
    std::uint32_t height() const { return height_; }
    double x_dpi() const { return x_dpi_; }
    double y_dpi() const { return y_dpi_; }

    /// The next row, width() pixels. False, with the row left alone, when the file is damaged from
    /// here on; never called more than height() times.
    virtual bool next_row(Pixel *row) = 0;

protected:
    /// Keeps a resolution that makes sense, else spreads the picture over the sheet's width.
    void set_resolution(double x_dpi, double y_dpi);

    std::uint32_t width_ = 0;
    std::uint32_t height_ = 0;
    double x_dpi_ = 0;
    double y_dpi_ = 0;
};

/// Opens a picture. Throws PictureError.
/// wanted_dpi   what the reader may come down to, where the format makes that cheap
std::unique_ptr<PictureReader> open_picture(const std::filesystem::path &path,
                                            double wanted_dpi = 1e9);

/// Reads the whole picture and throws PictureError when any of it is damaged.
void check_picture(const std::filesystem::path &path);

/// A picture as a sheet under the sensor: placed at the top left corner, brought to the scan
/// resolution by averaging on reduction and between neighbours on enlargement.
std::unique_ptr<RowSource> scan_picture(std::unique_ptr<PictureReader> picture,
                                        const ScanArea &area);

/// The two formats; each throws PictureError and owns `file` from the call on.
std::unique_ptr<PictureReader> open_png(std::FILE *file);
std::unique_ptr<PictureReader> open_jpeg(std::FILE *file, double wanted_dpi);

/// What a reader has to hold whole (interlaced, progressive) is bounded by this.
inline constexpr std::uint64_t whole_picture_limit = 64'000'000; // pixels

} // namespace varn::engine
