/// Takes a scan's images the way the library and the web server do.
#pragma once

#include "device/wire/records.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace varn::test {

/// Sources and output data types of a parameter block.
inline constexpr std::uint32_t simplex = 6;
inline constexpr std::uint32_t duplex = 4;
inline constexpr std::uint32_t flatbed = 0;
inline constexpr std::uint8_t bi_level = 1;
inline constexpr std::uint8_t grey = 2;
inline constexpr std::uint8_t colour = 3;

/// Settings of a one-sided colour page of A4 at 100 dpi.
wire::ScanParam page_at(std::uint32_t source, std::uint8_t out_data_type, std::uint16_t dpi = 100);

struct Image {
    std::vector<std::uint8_t> bytes;
    wire::BlockStatus last; ///< record of its last block
    unsigned blocks = 0;
};

struct Scan {
    std::vector<Image> images;
    std::vector<std::uint8_t> incomplete; ///< of an image that broke off
    std::uint32_t block_error = 0;
    std::uint32_t sheet_error = 0;
    bool finished = false; ///< the last sheet record said so
    bool broken = false;   ///< the engine left
};

enum class Next { go_on, cancel, vanish };

/// What a client does in a scan.
struct Manners {
    int ms_per_block = 0;
    /// Asked before each acknowledgement, with the blocks taken so far.
    std::function<Next(unsigned blocks)> next = [](unsigned) { return Next::go_on; };
};

/// What a host says before a scan, beside the parameter block.
struct HostRecords {
    int format = 0;                       ///< of the documents
    std::vector<std::uint16_t> tone[3];   ///< 255 words for red, green, blue
    std::vector<std::uint16_t> matrix;    ///< nine words
    std::vector<std::uint32_t> multipick; ///< four words
};
void write_records(const std::string &root, const HostRecords &records);

/// Writes the settings, starts the scan and takes everything.
Scan scan(const std::string &root, const wire::ScanParam &param, const Manners &manners = {});

/// A decoded JPEG, or a TIFF.
struct Picture {
    unsigned width = 0; ///< 0: not decodable
    unsigned height = 0;
    unsigned channels = 0;
    unsigned dpi = 0;
    std::vector<std::uint8_t> samples;

    std::uint32_t colour_at(unsigned x, unsigned y) const; ///< 0xRRGGBB
    std::uint32_t mean_colour() const;
};
Picture decode(const std::vector<std::uint8_t> &jpeg);
/// Samples of a bi-level picture are 0 and 255.
Picture decode_tiff(const std::vector<std::uint8_t> &tiff);

/// Whether every channel of two colours is within `most` of the other's.
bool alike(std::uint32_t colour, std::uint32_t other, int most = 6);

} // namespace varn::test
