/// The device around the code under test: a tree in memory that each input finds as the first one
/// did, and an engine whose answers are bytes of the input.
#pragma once

#include "fuzz/targets.h"

#include <atomic>
#include <filesystem>
#include <map>

namespace varn::fuzz {

class Device {
public:
    Device();
    ~Device();
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    /// Puts tree, process-wide values and engine back.
    void begin();
    /// Bytes that the engine answers with, again and again; empty: zeros. They stay the caller's.
    void answer_with(Input bytes) { answers_ = bytes; }
    /// The next bytes of the engine's answers, and its result.
    int32_t answer(void *dst, size_t size);
    /// The same for a block of more than a megabyte; after some of them in one input the engine is
    /// away, since their fresh memory is most of the work.
    int32_t answer_block(void *dst, size_t size);

    /// Runs in each usleep of the code under test, on its thread, until the next begin().
    void on_pause(void (*work)()) { pause_ = work; }
    void pause() const {
        if (auto *work = pause_.load())
            work();
    }

    /// Files of the tree, by device path.
    void put(std::string_view path, std::string_view content) const;
    std::string root() const { return root_; }

private:
    struct Original {
        std::string content;
        std::filesystem::file_time_type time;
    };
    void restore() const;

    std::filesystem::path root_;
    std::map<std::string, Original> originals_; ///< by path
    Input answers_;
    size_t next_ = 0;
    unsigned blocks_ = 0;
    std::atomic<void (*)()> pause_ = nullptr;
};

Device &device();

} // namespace varn::fuzz
