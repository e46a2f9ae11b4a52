#include "device/engine/nvram.h"

#include "device/engine/files.h"
#include "device/wire/places.h"

#include <cstring>
#include <ctime>
#include <utility>
#include <uuid/uuid.h>

namespace varn::engine {
namespace {

constexpr std::uint32_t factory_minutes_to_sleep = 13; // shown as 15 minutes
constexpr std::uint32_t factory_minutes_to_auto_off = 120;

void set_factory_intervals(wire::NvramTable &table) {
    table.roller_clean_interval = 5000;
    table.roller_replace_interval = 100000;
    table.pad_replace_interval = 50000;
}

void set_factory_settings(wire::NvramTable &table) {
    table.panel_language = 0;
    set_factory_intervals(table);
    std::memset(table.asset_number, 0, sizeof table.asset_number);
}

/// A device that left the factory today.
wire::NvramTable new_table() {
    wire::NvramTable table;
    set_factory_settings(table);
    std::memcpy(table.serial_number, "VS00000001", sizeof table.serial_number);
    uuid_t id;
    char text[37];
    uuid_generate(id);
    uuid_unparse_lower(id, text);
    std::memcpy(table.uuid, text, sizeof table.uuid);

    const std::time_t now = std::time(nullptr);
    std::tm today = {};
    localtime_r(&now, &today);
    table.manufacture_month = static_cast<std::uint8_t>(today.tm_mon + 1);
    table.manufacture_day = static_cast<std::uint8_t>(today.tm_mday);
    table.manufacture_year = static_cast<std::uint8_t>(today.tm_year - 110);
    return table;
}

wire::PowerInfo new_power() {
    wire::PowerInfo power;
    power.minutes_to_sleep = factory_minutes_to_sleep;
    power.minutes_to_auto_off = factory_minutes_to_auto_off;
    return power;
}

template <typename Record>
bool load(const std::filesystem::path &path, Record &record) {
    const auto content = read_file(path, sizeof record);
    if (!content || content->size() != sizeof record)
        return false;
    std::memcpy(static_cast<void *>(&record), content->data(), sizeof record);
    return true;
}

bool inside_table(std::uint64_t offset, std::size_t size) {
    return size > 0 && size <= sizeof(wire::NvramTable) &&
           offset <= sizeof(wire::NvramTable) - size;
}

} // namespace

Nvram::Nvram(const std::filesystem::path &root)
    : table_path_(root.string() + wire::nvram_file), power_path_(root.string() + wire::power_file) {
    if (!load(table_path_, table_))
        change([made = new_table()](wire::NvramTable &table) { table = made; });
    if (!load(power_path_, power_))
        store_power(new_power());
}

wire::NvramTable Nvram::table() const {
    const std::lock_guard lock(mutex_);
    return table_;
}

wire::PowerInfo Nvram::power() const {
    const std::lock_guard lock(mutex_);
    return power_;
}

bool Nvram::read(std::uint64_t offset, std::span<std::byte> out) const {
    if (!inside_table(offset, out.size()))
        return false;
    const wire::NvramTable copy = table();
    std::memcpy(out.data(), bytes_of(copy).data() + offset, out.size());
    return true;
}

bool Nvram::write(std::uint64_t offset, std::span<const std::byte> in) {
    if (!inside_table(offset, in.size()))
        return false;
    return change([&](wire::NvramTable &table) {
        std::memcpy(std::as_writable_bytes(std::span(&table, 1)).data() + offset, in.data(),
                    in.size());
    });
}

bool Nvram::set_minutes_to_sleep(std::uint32_t minutes) {
    const std::lock_guard flash(flash_mutex_);
    wire::PowerInfo next = power();
    next.minutes_to_sleep = minutes;
    return store_power(next);
}

bool Nvram::set_minutes_to_auto_off(std::uint32_t minutes) {
    const std::lock_guard flash(flash_mutex_);
    wire::PowerInfo next = power();
    next.minutes_to_auto_off = minutes;
    return store_power(next);
}

bool Nvram::change(const std::function<void(wire::NvramTable &)> &edit) {
    const std::lock_guard flash(flash_mutex_);
    wire::NvramTable next = table();
    edit(next);
    if (!replace_file(table_path_, bytes_of(next)))
        return false;
    const std::lock_guard lock(mutex_);
    edit(table_); // not the copy: a scan may have counted meanwhile
    return true;
}

void Nvram::count(const std::function<void(wire::NvramTable &)> &edit) {
    const std::lock_guard lock(mutex_);
    edit(table_);
    counted_ = true;
}

bool Nvram::flush() {
    const std::lock_guard flash(flash_mutex_);
    wire::NvramTable next;
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(counted_, false))
            return true;
        next = table_;
    }
    if (replace_file(table_path_, bytes_of(next)))
        return true;
    const std::lock_guard lock(mutex_);
    counted_ = true;
    return false;
}

bool Nvram::restore_intervals() { return change(set_factory_intervals); }

bool Nvram::restore_factory() {
    const bool table_stored = change(set_factory_settings);
    const std::lock_guard flash(flash_mutex_);
    return store_power(new_power()) && table_stored;
}

bool Nvram::store_power(const wire::PowerInfo &power) {
    if (!replace_file(power_path_, bytes_of(power)))
        return false;
    const std::lock_guard lock(mutex_);
    power_ = power;
    return true;
}

} // namespace varn::engine
