#include "device/engine/tally.h"

#include "device/wire/records.h"

#include <cstring>
#include <utility>

namespace varn::engine {
namespace {

void one_more(wire::u16le &count) { count = static_cast<std::uint16_t>(count + 1); }
void one_more(wire::u32le &count) { count = count + 1; }

struct ErrorCount {
    std::uint32_t error;
    wire::u16le wire::NvramTable::*in_table;
    wire::u32le wire::Counters::*in_counters;
};
constexpr ErrorCount error_counts[] = {
    {wire::err_jam, &wire::NvramTable::jam_events, &wire::Counters::jam_events},
    {wire::err_jam_exit, &wire::NvramTable::jam_events, &wire::Counters::jam_events},
    {wire::err_mispick, &wire::NvramTable::mispick_events, &wire::Counters::mispick_events},
    {wire::err_multipick, &wire::NvramTable::multipick_events, &wire::Counters::multipick_events},
};

} // namespace

Tally::Tally(Nvram &nvram, Storage &storage) : nvram_(nvram), storage_(storage) {
    const Bytes kept = storage_.record(counters_record);
    std::memcpy(static_cast<void *>(&counters_), kept.data(), sizeof counters_);
}

wire::Counters Tally::counters() const {
    const std::lock_guard lock(mutex_);
    return counters_;
}

void Tally::scan() {
    count([](wire::Counters &counters) { one_more(counters.scans); });
}

void Tally::sheet() {
    count([](wire::Counters &counters) { one_more(counters.sheets); });
}

void Tally::image(bool from_feeder) {
    nvram_.count([&](wire::NvramTable &table) {
        one_more(from_feeder ? table.adf_pages : table.flatbed_pages);
    });
    count([&](wire::Counters &counters) {
        one_more(from_feeder ? counters.feeder_pages : counters.flatbed_pages);
    });
}

void Tally::slow_pick() {
    nvram_.count([](wire::NvramTable &table) { one_more(table.slow_pick_events); });
}

void Tally::error(std::uint32_t error) {
    for (const ErrorCount &row : error_counts)
        if (row.error == error) {
            nvram_.count([&](wire::NvramTable &table) { one_more(table.*row.in_table); });
            count([&](wire::Counters &counters) { one_more(counters.*row.in_counters); });
        }
}

void Tally::count(const std::function<void(wire::Counters &)> &edit) {
    const std::lock_guard lock(mutex_);
    edit(counters_);
    counted_ = true;
}

bool Tally::flush() {
    const bool nvram_flushed = nvram_.flush();
    return flush_counters() && nvram_flushed;
}

bool Tally::flush_counters() {
    const std::lock_guard flash(flash_mutex_);
    wire::Counters next;
    {
        const std::lock_guard lock(mutex_);
        if (!std::exchange(counted_, false))
            return true;
        next = counters_;
    }
    if (storage_.set_record(counters_record, bytes_of(next)))
        return true;
    const std::lock_guard lock(mutex_);
    counted_ = true;
    return false;
}

} // namespace varn::engine
