/// Sheets as the user names them, made ready for the engine.
#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace varn::ctl {

/// Copies of the user's pictures in the tree's incoming directory. What the engine has not taken
/// away by the end is deleted.
class StagedPictures {
public:
    explicit StagedPictures(const std::string &root);
    ~StagedPictures();
    StagedPictures(const StagedPictures &) = delete;
    StagedPictures &operator=(const StagedPictures &) = delete;

    /// Checks and copies one picture; gives its name in the directory. Throws std::runtime_error.
    std::string add(const std::filesystem::path &picture);

private:
    std::filesystem::path dir_;
    std::vector<std::filesystem::path> files_;
};

/// One sheet: a picture, a test sheet's name, or two of them as FRONT+BACK; with *2 behind it, two
/// sheets that are picked at once.
nlohmann::json sheet_of(const std::string &word, StagedPictures &staged);
/// A stack: a number of test sheets, or one sheet per word.
nlohmann::json sheets_of(const std::vector<std::string> &words, StagedPictures &staged);

} // namespace varn::ctl
