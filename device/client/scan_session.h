/// One scan, from the settings to the files.
#pragma once

#include <filesystem>
#include <string>

namespace varn::client {

struct SessionOptions {
    std::string url; ///< of the scanner, without a path
    std::filesystem::path out;
    bool progress = false; ///< a line per page that is written over
    bool insecure = false; ///< any certificate is taken
};

/// Posts the settings, saves every image and prints what happens. Returns the exit code of the
/// program: 0 all images saved, 1 refused, broken off, or a file that cannot be written.
int scan(const SessionOptions &options, const std::string &settings_xml);

} // namespace varn::client
