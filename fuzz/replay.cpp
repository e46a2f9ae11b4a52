// Replays kept inputs: every file of FOLDER/TARGET/ through its target.
#include "fuzz/device.h"
#include "fuzz/targets.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> files_of(const fs::path &folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder))
        files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "usage: fuzz_replay FOLDER\n");
        return 2;
    }
    for (const varn::fuzz::Target &target : varn::fuzz::targets()) {
        const fs::path folder = fs::path(argv[1]) / target.name;
        const auto files = fs::is_directory(folder) ? files_of(folder) : std::vector<fs::path>();
        if (files.empty()) {
            fprintf(stderr, "%s: no inputs\n", folder.c_str());
            return 1;
        }
        for (const fs::path &file : files) {
            fprintf(stderr, "%s\n", file.c_str());
            std::ifstream stream(file, std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(stream), {}};
            varn::fuzz::device().begin();
            target.take({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
        }
        fprintf(stderr, "%s: %zu inputs\n", target.name, files.size());
    }
    return 0;
}
