/// The device that the measurements run on: a tree in memory, and an engine that answers at once.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace varn::bench {

/// A copy of the device tree on a tmpfs, where the library works while this object lives.
class MemoryTree {
public:
    MemoryTree();
    ~MemoryTree();
    MemoryTree(const MemoryTree &) = delete;
    MemoryTree &operator=(const MemoryTree &) = delete;

    bool ok() const { return ok_; }

private:
    std::filesystem::path root_;
    bool ok_ = false;
};

/// Place of a device file in the running tree.
std::string place(std::string_view path);
void put(std::string_view path, std::string_view content);
std::string get(std::string_view path);

/// How often the status block of the net service was read so far.
unsigned net_block_reads();

/// Whole file as the least number of calls reads it; the caller frees. Null when it cannot be read.
char *read_file(const char *path, size_t &size);

} // namespace varn::bench
