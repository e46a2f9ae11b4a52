/// A directory of its own for each test, and whole files in it.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

inline std::string content_of(const std::filesystem::path &path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

class Scratch : public ::testing::Test {
protected:
    Scratch() {
        std::string name = (std::filesystem::temp_directory_path() / "platform-XXXXXX").string();
        dir = mkdtemp(name.data());
    }
    ~Scratch() override { std::filesystem::remove_all(dir); }

    std::string file(const std::string &name) const { return (dir / name).string(); }
    std::string put(const std::string &name, const std::string &content) const {
        std::ofstream(dir / name, std::ios::binary) << content;
        return file(name);
    }

    std::filesystem::path dir;
};
