/// What to scan, as an option list and as a scan:ScanSettings document.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace varn::client {

/// Part of the page, three-hundredths of an inch.
struct Window {
    unsigned x = 0;
    unsigned y = 0;
    unsigned width = 0;
    unsigned height = 0;
};

struct ScanSettings {
    std::string source = "feeder";     ///< feeder, duplex, flatbed
    std::string mode = "color";        ///< color, gray, bw
    unsigned resolution = 300;         ///< dots per inch
    std::string format = "image/jpeg"; ///< jpeg, pdf, tiff, raw, or a media type
    std::optional<unsigned> page_count;
    std::optional<Window> window;
    struct Extra {
        std::string element; ///< scan:Gamma
        std::string value;
    };
    std::vector<Extra> extras;
};

/// Whether the words of the settings are known ones; else a message.
std::string check_settings(const ScanSettings &settings);
std::string settings_document(const ScanSettings &settings);

/// "X,Y,WIDTH,HEIGHT".
std::optional<Window> parse_window(const std::string &text);

} // namespace varn::client
