#include "device/ctl/sheet_args.h"

#include "device/engine/pictures/picture_file.h"
#include "device/engine/pictures/test_sheets.h"
#include "device/wire/places.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <unistd.h>

namespace varn::ctl {
namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr std::array stack_of_test_sheets = {"chart", "text", "ramp"};
constexpr unsigned long most_sheets = 500;

std::optional<unsigned long> number_of(const std::string &word) {
    if (word.empty() || word.size() > 9 || word.find_first_not_of("0123456789") != word.npos)
        return std::nullopt;
    return std::stoul(word);
}

json side_of(const std::string &word, StagedPictures &staged) {
    if (engine::find_test_sheet(word))
        return {{"drawn", word}};
    return {{"file", staged.add(word)}, {"name", fs::path(word).filename().string()}};
}

/// Where FRONT ends in FRONT+BACK; npos for a single side. A plus sign in a file's name stays.
std::size_t split_at(const std::string &word) {
    const auto names_something = [](const std::string &side) {
        return engine::find_test_sheet(side) || fs::exists(side);
    };
    if (names_something(word))
        return std::string::npos;
    for (std::size_t at = word.find('+'); at != word.npos; at = word.find('+', at + 1))
        if (names_something(word.substr(0, at)) && names_something(word.substr(at + 1)))
            return at;
    return std::string::npos;
}

} // namespace

StagedPictures::StagedPictures(const std::string &root) : dir_(root + wire::incoming_dir) {}

StagedPictures::~StagedPictures() {
    std::error_code ignored;
    for (const fs::path &file : files_)
        fs::remove(file, ignored);
}

std::string StagedPictures::add(const fs::path &picture) {
    try {
        engine::check_picture(picture);
    } catch (const engine::PictureError &error) {
        throw std::runtime_error(picture.string() + ": " + error.what());
    }
    std::string name = (dir_ / "picture-XXXXXX").string();
    const int fd = mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0)
        throw std::runtime_error("cannot write to " + dir_.string() + ": " + std::strerror(errno));
    close(fd);
    files_.emplace_back(name);
    fs::copy_file(picture, name, fs::copy_options::overwrite_existing);
    return fs::path(name).filename().string();
}

json sheet_of(const std::string &word, StagedPictures &staged) {
    constexpr std::string_view twice = "*2";
    if (word.ends_with(twice) && !fs::exists(word)) {
        json sheet = sheet_of(word.substr(0, word.size() - twice.size()), staged);
        sheet["double"] = true;
        return sheet;
    }
    const std::size_t plus = split_at(word);
    if (plus == std::string::npos)
        return {{"front", side_of(word, staged)}};
    return {{"front", side_of(word.substr(0, plus), staged)},
            {"back", side_of(word.substr(plus + 1), staged)}};
}

json sheets_of(const std::vector<std::string> &words, StagedPictures &staged) {
    json sheets = json::array();
    const auto count = words.size() == 1 ? number_of(words.front()) : std::nullopt;
    if (count && (*count == 0 || *count > most_sheets))
        throw std::runtime_error("a stack has 1 to " + std::to_string(most_sheets) + " sheets");
    for (unsigned long i = 0; i < count.value_or(0); ++i)
        sheets.push_back(
            {{"front", {{"drawn", stack_of_test_sheets[i % stack_of_test_sheets.size()]}}}});
    if (!count)
        for (const std::string &word : words)
            sheets.push_back(sheet_of(word, staged));
    return sheets;
}

} // namespace varn::ctl
