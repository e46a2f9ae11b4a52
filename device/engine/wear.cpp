#include "device/engine/wear.h"

#include "device/engine/files.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

namespace varn::engine {
namespace {

using wire::NvramTable;

struct Part {
    std::string_view name;
    const char *marker; ///< null for a part without
    std::uint32_t longest_interval;
    void (*set)(NvramTable &table, std::uint32_t pages);
    std::int64_t (*interval)(const NvramTable &table);
    std::int64_t (*serviced_at)(const NvramTable &table);
};

constexpr Part parts[] = {
    {"clean", "tmp/cleanp", UINT16_MAX,
     [](NvramTable &table, std::uint32_t pages) {
         table.roller_clean_interval = static_cast<std::uint16_t>(pages);
         table.scan_count_at_roller_clean = table.adf_pages;
     },
     [](const NvramTable &table) -> std::int64_t { return table.roller_clean_interval; },
     [](const NvramTable &table) -> std::int64_t { return table.scan_count_at_roller_clean; }},
    {"rollers", "tmp/replacer", INT32_MAX,
     [](NvramTable &table, std::uint32_t pages) {
         table.roller_replace_interval = static_cast<std::int32_t>(pages);
         table.scan_count_at_roller_replace = static_cast<std::int32_t>(+table.adf_pages);
     },
     [](const NvramTable &table) -> std::int64_t { return table.roller_replace_interval; },
     [](const NvramTable &table) -> std::int64_t { return table.scan_count_at_roller_replace; }},
    {"pad", nullptr, UINT16_MAX,
     [](NvramTable &table, std::uint32_t pages) {
         table.pad_replace_interval = static_cast<std::uint16_t>(pages);
         table.scan_count_at_pad_replace = static_cast<std::int32_t>(+table.adf_pages);
     },
     [](const NvramTable &table) -> std::int64_t { return table.pad_replace_interval; },
     [](const NvramTable &table) -> std::int64_t { return table.scan_count_at_pad_replace; }},
};

const Part &find_part(std::string_view name) {
    const Part *found = std::ranges::find(parts, name, &Part::name);
    if (found == std::end(parts))
        throw std::runtime_error("no such part: " + std::string(name));
    return *found;
}

} // namespace

void set_wear(Nvram &nvram, std::string_view name, std::uint32_t pages) {
    const Part &part = find_part(name);
    if (pages == 0 || pages > part.longest_interval)
        throw std::runtime_error("an interval is 1 to " + std::to_string(part.longest_interval) +
                                 " pages");
    if (!nvram.change([&](NvramTable &table) { part.set(table, pages); }))
        throw std::runtime_error("the device tree cannot be written");
}

void mark_wear(const std::filesystem::path &root, std::string_view name) {
    const Part &part = find_part(name);
    if (!part.marker)
        throw std::runtime_error("the pad is due with the rollers");
    if (!replace_file(root / part.marker, {}))
        throw std::runtime_error("the device tree cannot be written");
}

void describe_wear(const NvramTable &table, nlohmann::json &state) {
    for (const Part &part : parts)
        state["wear"][std::string(part.name)] = {
            {"interval", part.interval(table)},
            {"pages", std::int64_t{table.adf_pages} - part.serviced_at(table)}};
}

} // namespace varn::engine
