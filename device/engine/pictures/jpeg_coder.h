/// Codes a page as JPEG, straight into the ring.
#pragma once

#include "device/engine/block_queue.h"
#include "device/engine/pictures/rows.h"

#include <memory>

namespace varn::engine {

/// How a page is coded.
struct JpegForm {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool colour = false; ///< else one grey byte a pixel
    std::uint16_t x_dpi = 300;
    std::uint16_t y_dpi = 300;
    int quality = 75;
};

/// JPEG quality of a compression level: 1 is the best picture (95), each level takes five, down
/// to 10; 0 counts as 1.
int jpeg_quality(std::uint8_t compression_level);

class JpegCoder {
public:
    JpegCoder(const JpegForm &form, BlockWriter &out);
    ~JpegCoder();
    JpegCoder(const JpegCoder &) = delete;
    JpegCoder &operator=(const JpegCoder &) = delete;

    /// The next `count` rows: Pixel when the form is colour, else bytes; width of the form each.
    /// False when the client is gone or the page cannot be coded.
    bool write(const void *rows, unsigned count);
    /// Ends the picture after all its rows.
    bool finish();

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace varn::engine
