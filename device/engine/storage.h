/// The engine's stores: parameter blocks, profiles, lists, and the records that a host sets
/// before a scan. Each lives in a file of its own under /datafs/engine.
#pragma once

#include "device/engine/files.h"
#include "device/wire/counters.h"
#include "device/wire/profile.h"
#include "device/wire/records.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <span>
#include <string>

namespace varn::engine {

/// Names of the scan records, with their sizes in bytes.
struct RecordKind {
    const char *name;
    std::size_t size;
};
inline constexpr RecordKind gamma_record{"gamma", 10};         ///< five 16-bit tone settings
inline constexpr RecordKind multipick_record{"multipick", 16}; ///< four 32-bit words
inline constexpr RecordKind colour_matrix{"matrix", 18};       ///< nine 16-bit words
inline constexpr RecordKind scan_param_record{"scan-param", sizeof(wire::ScanParam)};
inline constexpr RecordKind counters_record{"counters", sizeof(wire::Counters)};
/// 255 16-bit entries each: red, green, blue, and the fourth table of the hardware.
inline constexpr RecordKind tone_tables[4] = {
    {"tone-2", 510}, {"tone-3", 510}, {"tone-4", 510}, {"tone-5", 510}};

inline constexpr std::size_t profile_size = sizeof(wire::Profile);
inline constexpr std::uint64_t job_table = 25; ///< profile area of the slots below
inline constexpr std::size_t profile_slots = 20;

inline constexpr std::uint64_t time_parameter = 2; ///< wire::TimeBlock

/// A list of equal entries, each known by a text field of its own.
struct ListKind {
    const char *name;
    std::size_t entry_size;
    std::size_t key_offset;
    std::size_t key_width;
    std::size_t capacity; ///< entries
};
inline constexpr ListKind pc_list{"pc-list", sizeof(wire::PcListEntry),
                                  offsetof(wire::PcListEntry, szPCUUID),
                                  sizeof(wire::PcListEntry::szPCUUID), 64};
inline constexpr ListKind job_list{"job-list", sizeof(wire::StoredJob),
                                   offsetof(wire::StoredJob, szJobUUID),
                                   sizeof(wire::StoredJob::szJobUUID), 5};

class Storage {
public:
    explicit Storage(const std::filesystem::path &root);

    /// Size of a parameter block or a profile by its identifier; 0 for an unknown one.
    static std::size_t parameter_size(std::uint64_t id);
    static std::size_t profile_area_size(std::uint64_t id);

    Bytes parameter(std::uint64_t id) const;
    /// A block of a profile's size with the SharePoint profile's identifier replaces that profile.
    bool set_parameter(std::uint64_t id, std::span<const std::byte> block);
    Bytes profile(std::uint64_t id) const;
    bool set_profile(std::uint64_t id, std::span<const std::byte> profile);

    Bytes record(const RecordKind &kind) const;
    bool set_record(const RecordKind &kind, std::span<const std::byte> content);

    /// Every entry, one behind the other.
    Bytes list(const ListKind &kind) const { return load_list(kind); }
    std::uint32_t list_count(const ListKind &kind) const;
    /// The first entries, as many as fit; zeros behind the last.
    Bytes list_entries(const ListKind &kind, std::size_t size) const;
    /// Adds the entry, or replaces the one with its key. False when the list is full.
    bool list_add(const ListKind &kind, std::span<const std::byte> entry);
    /// Removes the entry with the key of `entry`; true also when there is none.
    bool list_remove(const ListKind &kind, std::span<const std::byte> entry);

    /// Forgets everything but the counters block.
    bool restore_factory();

private:
    Bytes load(const std::string &name, std::size_t size) const;
    Bytes load_list(const ListKind &kind) const;
    bool store(const std::string &name, std::span<const std::byte> content);

    std::filesystem::path dir_;
    std::mutex list_change_; ///< from the reading of a list to its writing; before mutex_
    mutable std::mutex mutex_;
    mutable std::map<std::string, Bytes> cache_;
};

} // namespace varn::engine
