/// A device tree with a running engine of its own, and hands to work it.
#pragma once

#include "device/wire/local_socket.h"
#include "device/wire/records.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

namespace varn::test {

/// A directory that goes with the object.
class TempTree {
public:
    TempTree();
    ~TempTree();
    TempTree(const TempTree &) = delete;
    TempTree &operator=(const TempTree &) = delete;
    const std::string &path() const { return path_; }

private:
    std::string path_;
};

/// Output and exit status of a program that ran to its end.
struct Finished {
    int status = -1;
    std::string output; ///< standard output and standard error
};
Finished run_program(const std::vector<std::string> &words);

class EngineProcess {
public:
    /// Starts it and waits until it is ready.
    explicit EngineProcess(const std::string &root);
    ~EngineProcess();
    EngineProcess(const EngineProcess &) = delete;
    EngineProcess &operator=(const EngineProcess &) = delete;

    pid_t pid() const { return pid_; }
    bool ready() const { return ready_; }
    /// Sends the signal and waits for the end; the wait status.
    int end(int signal);
    int threads() const;
    int descriptors() const;

private:
    pid_t pid_ = -1;
    bool ready_ = false;
};

/// An engine link that closes itself.
class Link {
public:
    explicit Link(const std::string &root);
    ~Link();
    Link(const Link &) = delete;
    Link &operator=(const Link &) = delete;
    operator std::uint32_t() const { return static_cast<std::uint32_t>(fd_); }

private:
    int fd_;
};

class EngineTest : public testing::Test {
protected:
    EngineTest() : engine(tree.path()) { EXPECT_TRUE(engine.ready()); }

    const std::string &root() const { return tree.path(); }
    /// varnctl on this tree; expects it to succeed and gives its output.
    std::string ctl(std::vector<std::string> words) const;
    nlohmann::json state() const { return nlohmann::json::parse(ctl({"state"})); }
    /// A PNG of one colour (0xRRGGBB) in the tree; its path.
    std::string paint(const std::string &name, unsigned width, unsigned height,
                      std::uint32_t colour, unsigned dpi = 100) const;

    TempTree tree;
    EngineProcess engine;
};

Finished run_ctl(const std::string &root, std::vector<std::string> words);

/// The little-endian record in a file.
template <typename Record>
Record read_record(const std::filesystem::path &path) {
    Record record;
    FILE *file = std::fopen(path.c_str(), "rb");
    EXPECT_NE(file, nullptr) << path;
    if (file) {
        EXPECT_EQ(std::fread(static_cast<void *>(&record), sizeof record, 1, file), 1U) << path;
        std::fclose(file);
    }
    return record;
}

} // namespace varn::test
