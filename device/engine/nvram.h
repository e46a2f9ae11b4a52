/// The NVRAM table and the power information, kept on flash.
#pragma once

#include "device/wire/nvram.h"

#include <filesystem>
#include <functional>
#include <mutex>
#include <span>

namespace varn::engine {

/// Every change but a count is on flash before the call returns.
class Nvram {
public:
    /// Loads the files, or makes factory content where one is missing or has the wrong size.
    explicit Nvram(const std::filesystem::path &root);

    wire::NvramTable table() const;
    wire::PowerInfo power() const;

    /// Bytes [offset, offset + size) of the table; false outside it.
    bool read(std::uint64_t offset, std::span<std::byte> out) const;
    bool write(std::uint64_t offset, std::span<const std::byte> in);

    bool set_minutes_to_sleep(std::uint32_t minutes);
    bool set_minutes_to_auto_off(std::uint32_t minutes);
    bool change(const std::function<void(wire::NvramTable &)> &edit);

    /// Changes the table in memory only, without waiting for the flash: for what is counted during
    /// a scan. flush() writes it.
    void count(const std::function<void(wire::NvramTable &)> &edit);
    /// Writes what was counted; does nothing when nothing was.
    bool flush();

    /// The maintenance intervals go back to factory content.
    bool restore_intervals();
    /// Settings go back to factory content; what identifies the device and what it has counted
    /// stays.
    bool restore_factory();

private:
    bool store_power(const wire::PowerInfo &power);

    std::mutex flash_mutex_;   ///< held for the length of a write; taken before the other one
    mutable std::mutex mutex_; ///< the values below
    bool counted_ = false;     ///< the table has counts that are not on flash
    std::filesystem::path table_path_;
    std::filesystem::path power_path_;
    wire::NvramTable table_;
    wire::PowerInfo power_;
};

} // namespace varn::engine
