#include "device/engine/clock.h"

#include "device/engine/time_zones.h"
#include "device/wire/local_socket.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>

namespace varn::engine {
namespace {

constexpr std::int64_t answer_after_ms = 200;
constexpr std::int32_t dst_minutes = 60;

std::span<const std::byte> part(const wire::TimeBlock &block, std::size_t from, std::size_t to) {
    return bytes_of(block).subspan(from, to - from);
}

bool gives_anything(std::span<const std::byte> bytes) {
    return std::ranges::any_of(bytes, [](std::byte byte) { return byte != std::byte{0}; });
}

/// A zone that is named without its offset has the offset that it is known for, daylight saving
/// that is enabled without its days has those of the zone, and a zone without a name is one of the
/// same name at another offset.
wire::TimeZoneRecord complete(wire::TimeZoneRecord zone, const wire::TimeZoneRecord &before) {
    const bool is_named = zone.byCode != 0 || zone.dwNameReference != 0;
    if (!is_named)
        zone.byCode = before.byCode;
    zone.dwNameReference = 0;
    const TimeZone *known = find_time_zone(zone.byCode);
    if (is_named && zone.offsetMinutes == 0 && known)
        zone.offsetMinutes = known->minutes;
    zone.dstOffsetMinutes = zone.dwDst == 1 ? dst_minutes : 0;
    const bool has_days = gives_anything(std::as_bytes(std::span(&zone.dstStart, 2)));
    if (zone.dwDst == 1 && !has_days && known) {
        zone.dstStart = known->dst.start;
        zone.dstEnd = known->dst.end;
    }
    return zone;
}

void use_defaults(wire::TimeBlock &block) {
    block.source = block.defaultSource;
    std::memcpy(block.szServer, block.szDefaultServer, sizeof block.szServer - 1);
}

void take_source(const wire::TimeBlock &given, wire::TimeBlock &block) {
    block.dwAction = given.dwAction;
    if (given.dwAction == wire::sync_use_defaults && given.szServer[0] == '\0')
        return use_defaults(block);
    if (given.szServer[0] != '\0')
        std::memcpy(block.szServer, given.szServer, sizeof block.szServer - 1);
    if (given.source.dwPort != 0)
        block.source.dwPort = given.source.dwPort;
    if (given.source.interval.dwLength != 0)
        block.source.interval = given.source.interval;
}

/// 0: only when it is asked for.
std::int64_t milliseconds(const wire::SyncInterval &interval) {
    constexpr std::int64_t unit_ms[] = {3600000, 60000, 1000};
    return interval.dwUnits < std::size(unit_ms) ? interval.dwLength * unit_ms[interval.dwUnits]
                                                 : 0;
}

/// The device's own local time, as the zone has it.
void set_last_sync(wire::TimeBlock &block) {
    const std::time_t now = std::time(nullptr) + block.currentZone.offsetMinutes * std::time_t{60};
    std::tm time = {};
    gmtime_r(&now, &time);
    const int words[] = {time.tm_sec, time.tm_min,  time.tm_hour, time.tm_mday,
                         time.tm_mon, time.tm_year, time.tm_wday, time.tm_yday};
    std::ranges::copy(words, block.lastSyncTime);
    std::memcpy(block.szLastServer, block.szServer, sizeof block.szLastServer - 1);
}

} // namespace

wire::TimeBlock Clock::kept() const {
    wire::TimeBlock block;
    const Bytes bytes = storage_.parameter(time_parameter);
    std::memcpy(static_cast<void *>(&block), bytes.data(), sizeof block);
    return block;
}

bool Clock::keep(const wire::TimeBlock &block) {
    return storage_.set_parameter(time_parameter, bytes_of(block));
}

wire::TimeBlock Clock::read() {
    const std::lock_guard lock(mutex_);
    advance();
    wire::TimeBlock block = kept();
    block.dwSyncState = sync_state_;
    return block;
}

bool Clock::write(std::span<const std::byte> bytes) {
    wire::TimeBlock given;
    if (bytes.size() != sizeof given)
        return false;
    std::memcpy(static_cast<void *>(&given), bytes.data(), sizeof given);
    constexpr std::size_t network = offsetof(wire::TimeBlock, dwSntpState);
    constexpr std::size_t setting = offsetof(wire::TimeBlock, dwAction);
    constexpr std::size_t defaults = offsetof(wire::TimeBlock, defaultSource);
    constexpr std::size_t zone = offsetof(wire::TimeBlock, currentZone);
    const bool gives_zone = gives_anything(part(given, zone, sizeof given));
    const bool gives_network = gives_anything(part(given, network, defaults));

    const std::lock_guard lock(mutex_);
    wire::TimeBlock block = kept();
    if (gives_zone)
        block.currentZone = complete(given.currentZone, block.currentZone);
    if (gives_network)
        block.dwSntpState = given.dwSntpState;
    if (gives_anything(part(given, setting, defaults)))
        take_source(given, block);
    if (!keep(block))
        return false;
    if (block.dwSntpState != 1)
        sync_state_ = wire::sync_idle;
    if (gives_network && (block.dwSntpState == 1 || given.dwAction == wire::sync_now))
        begin_sync();
    return true;
}

void Clock::begin_sync() {
    sync_state_ = wire::sync_connecting;
    answer_ms_ = wire::now_ms() + answer_after_ms;
}

void Clock::advance() {
    if (sync_state_ == wire::sync_connecting && wire::now_ms() >= answer_ms_)
        finish_sync();
}

void Clock::finish_sync() {
    wire::TimeBlock block = kept();
    sync_state_ = server_reachable_ ? wire::sync_succeeded : wire::sync_failed;
    if (server_reachable_) {
        set_last_sync(block);
        keep(block);
    }
    const std::int64_t interval = milliseconds(block.source.interval);
    next_sync_ms_ = interval == 0 ? INT64_MAX : wire::now_ms() + interval;
}

void Clock::tick() {
    const std::lock_guard lock(mutex_);
    advance();
    if (sync_state_ != wire::sync_connecting && wire::now_ms() >= next_sync_ms_ &&
        kept().dwSntpState == 1)
        begin_sync();
}

void Clock::set_server_reachable(bool reachable) {
    const std::lock_guard lock(mutex_);
    server_reachable_ = reachable;
}

void Clock::restart() {
    const std::lock_guard lock(mutex_);
    sync_state_ = wire::sync_idle;
    next_sync_ms_ = 0;
}

void Clock::describe(nlohmann::json &state) {
    constexpr const char *sync_words[] = {"idle", "connecting", "succeeded", "failed"};
    const wire::TimeBlock block = read();
    const std::lock_guard lock(mutex_);
    state["time"] = {{"zone", block.currentZone.byCode},
                     {"offsetMinutes", std::int32_t{block.currentZone.offsetMinutes}},
                     {"networkTime", block.dwSntpState == 1 ? "on" : "off"},
                     {"sync", sync_words[block.dwSyncState]},
                     {"server", server_reachable_ ? "reachable" : "unreachable"}};
}

} // namespace varn::engine
