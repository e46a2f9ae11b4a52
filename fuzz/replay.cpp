// Replays kept inputs: every file of FOLDER/TARGET/ through its target. With SECONDS, each target
// then takes changed copies of its inputs for so long: blind, but in every build of the project.
// The changes are those of the seed, 1 unless told, so that no run of the tests is a lottery.
#include "fuzz/device.h"
#include "fuzz/targets.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
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

std::string content_of(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void take(const varn::fuzz::Target &target, const std::string &text) {
    varn::fuzz::device().begin();
    target.take({reinterpret_cast<const uint8_t *>(text.data()), text.size()});
}

size_t below(size_t limit, std::mt19937 &random) {
    return limit == 0 ? 0 : std::uniform_int_distribution<size_t>(0, limit - 1)(random);
}

/// One to eight changes: a byte, a cut, a part twice, a part of another input.
std::string changed(std::string text, const std::vector<std::string> &inputs,
                    std::mt19937 &random) {
    constexpr size_t longest = 8192;
    for (size_t changes = below(8, random) + 1; changes > 0; --changes) {
        const size_t at = below(text.size() + 1, random);
        const size_t length = below(64, random);
        switch (below(4, random)) {
        case 0:
            if (at < text.size())
                text[at] = static_cast<char>(below(256, random));
            break;
        case 1:
            text.erase(at, length);
            break;
        case 2:
            text.insert(at, text.substr(below(text.size() + 1, random), length));
            break;
        default:
            const std::string &other = inputs[below(inputs.size(), random)];
            text.insert(at, other.substr(below(other.size() + 1, random), length));
        }
    }
    text.resize(std::min(text.size(), longest));
    return text;
}

size_t take_changed(const varn::fuzz::Target &target, const std::vector<std::string> &inputs,
                    std::chrono::seconds time, unsigned seed) {
    std::mt19937 random(seed);
    size_t executions = 0;
    const auto end = std::chrono::steady_clock::now() + time;
    for (; std::chrono::steady_clock::now() < end; ++executions) {
        const std::string text = changed(inputs[below(inputs.size(), random)], inputs, random);
        // What ends this process can be looked at.
        std::ofstream("last-input", std::ios::binary) << text;
        take(target, text);
    }
    return executions;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2 || argc > 4) {
        fprintf(stderr, "usage: fuzz_replay FOLDER [SECONDS [SEED]]\n");
        return 2;
    }
    const std::chrono::seconds time(argc > 2 ? atoi(argv[2]) : 0);
    const auto seed = static_cast<unsigned>(argc > 3 ? atoi(argv[3]) : 1);
    for (const varn::fuzz::Target &target : varn::fuzz::targets()) {
        const fs::path folder = fs::path(argv[1]) / target.name;
        const auto files = fs::is_directory(folder) ? files_of(folder) : std::vector<fs::path>();
        if (files.empty()) {
            fprintf(stderr, "%s: no inputs\n", folder.c_str());
            return 1;
        }
        std::vector<std::string> inputs;
        for (const fs::path &file : files) {
            fprintf(stderr, "%s\n", file.c_str());
            inputs.push_back(content_of(file));
            take(target, inputs.back());
        }
        fprintf(stderr, "%s: %zu inputs, %zu changed ones\n", target.name, files.size(),
                take_changed(target, inputs, time, seed));
    }
    return 0;
}
