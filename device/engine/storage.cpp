#include "device/engine/storage.h"

#include "device/engine/factory_content.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace varn::engine {
namespace {

struct Area {
    std::uint64_t id;
    std::size_t size;
};
constexpr Area parameter_areas[] = {{time_parameter, 3580}, {3, 1720}, {4, 212}, {9, 128}};
constexpr std::uint64_t sharepoint_profile = 4;
constexpr Area profile_areas[] = {{0, profile_size},
                                  {1, profile_size},
                                  {sharepoint_profile, profile_size},
                                  {job_table, profile_slots *profile_size}};

std::size_t size_of(std::span<const Area> areas, std::uint64_t id) {
    for (const Area &area : areas)
        if (area.id == id)
            return area.size;
    return 0;
}

std::string_view key_of(const ListKind &kind, std::span<const std::byte> entry) {
    const auto *text = reinterpret_cast<const char *>(entry.data() + kind.key_offset);
    return {text, strnlen(text, kind.key_width)};
}

/// Offset of the entry with that key; the list's size when there is none.
std::size_t find_entry(const ListKind &kind, const Bytes &list, std::span<const std::byte> entry) {
    for (std::size_t at = 0; at < list.size(); at += kind.entry_size)
        if (key_of(kind, std::span(list).subspan(at, kind.entry_size)) == key_of(kind, entry))
            return at;
    return list.size();
}

} // namespace

Storage::Storage(const std::filesystem::path &root) : dir_(root / "datafs/engine") {}

std::size_t Storage::parameter_size(std::uint64_t id) { return size_of(parameter_areas, id); }
std::size_t Storage::profile_area_size(std::uint64_t id) { return size_of(profile_areas, id); }

Bytes Storage::parameter(std::uint64_t id) const {
    return load("parameter-" + std::to_string(id), parameter_size(id));
}

bool Storage::set_parameter(std::uint64_t id, std::span<const std::byte> block) {
    if (id == sharepoint_profile && block.size() == profile_size)
        return set_profile(id, block);
    return !block.empty() && block.size() == parameter_size(id) &&
           store("parameter-" + std::to_string(id), block);
}

Bytes Storage::profile(std::uint64_t id) const {
    return load("profile-" + std::to_string(id), profile_area_size(id));
}

bool Storage::set_profile(std::uint64_t id, std::span<const std::byte> profile) {
    return !profile.empty() && profile.size() == profile_area_size(id) &&
           store("profile-" + std::to_string(id), profile);
}

Bytes Storage::record(const RecordKind &kind) const { return load(kind.name, kind.size); }

bool Storage::set_record(const RecordKind &kind, std::span<const std::byte> content) {
    return content.size() == kind.size && store(kind.name, content);
}

std::uint32_t Storage::list_count(const ListKind &kind) const {
    return static_cast<std::uint32_t>(load_list(kind).size() / kind.entry_size);
}

Bytes Storage::list_entries(const ListKind &kind, std::size_t size) const {
    Bytes entries = load_list(kind);
    entries.resize(size);
    return entries;
}

bool Storage::list_add(const ListKind &kind, std::span<const std::byte> entry) {
    if (entry.size() != kind.entry_size)
        return false;
    const std::lock_guard lock(list_change_);
    Bytes list = load_list(kind);
    const std::size_t at = find_entry(kind, list, entry);
    if (at == list.size()) {
        if (list.size() / kind.entry_size >= kind.capacity)
            return false;
        list.resize(list.size() + kind.entry_size);
    }
    std::ranges::copy(entry, list.begin() + static_cast<std::ptrdiff_t>(at));
    return store(kind.name, list);
}

bool Storage::list_remove(const ListKind &kind, std::span<const std::byte> entry) {
    if (entry.size() != kind.entry_size)
        return false;
    const std::lock_guard lock(list_change_);
    Bytes list = load_list(kind);
    const std::size_t at = find_entry(kind, list, entry);
    if (at == list.size())
        return true;
    const auto first = list.begin() + static_cast<std::ptrdiff_t>(at);
    list.erase(first, first + static_cast<std::ptrdiff_t>(kind.entry_size));
    return store(kind.name, list);
}

bool Storage::restore_factory() {
    const std::lock_guard lock(mutex_);
    cache_.clear();
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(dir_, error))
        if (entry.path().filename() != counters_record.name)
            std::filesystem::remove(entry.path(), error);
    return !error || error == std::errc::no_such_file_or_directory;
}

Bytes Storage::load(const std::string &name, std::size_t size) const {
    const std::lock_guard lock(mutex_);
    auto found = cache_.find(name);
    if (found == cache_.end()) {
        auto content = read_file(dir_ / name, size);
        if (!content || content->size() != size)
            content = factory_content(name, size);
        found = cache_.emplace(name, std::move(*content)).first;
    }
    return found->second;
}

Bytes Storage::load_list(const ListKind &kind) const {
    const std::lock_guard lock(mutex_);
    auto found = cache_.find(kind.name);
    if (found == cache_.end()) {
        auto content = read_file(dir_ / kind.name, kind.capacity * kind.entry_size);
        if (!content || content->size() % kind.entry_size != 0)
            content.emplace();
        found = cache_.emplace(kind.name, std::move(*content)).first;
    }
    return found->second;
}

bool Storage::store(const std::string &name, std::span<const std::byte> content) {
    const std::lock_guard lock(mutex_);
    if (!replace_file(dir_ / name, content))
        return false;
    cache_[name] = Bytes(content.begin(), content.end());
    return true;
}

} // namespace varn::engine
