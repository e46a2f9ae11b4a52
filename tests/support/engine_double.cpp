#include "tests/support/engine_double.h"

#include "platform/mvtc.h"

#include <algorithm>
#include <cstring>

namespace varn::test {

EngineDouble engine;

void EngineDouble::note_action() {
    if (action == nullptr)
        return;
    for (const std::string &line : action_lines(action->taken()))
        calls.push_back(line);
}

int32_t EngineDouble::note(const std::string &name, const std::string &arguments) {
    const std::lock_guard lock(mutex_);
    note_action();
    calls.push_back(name + " " + arguments);
    const auto result = results.find(name);
    return result != results.end() ? result->second : 0;
}

std::vector<std::string> EngineDouble::take_calls() {
    const std::lock_guard lock(mutex_);
    note_action();
    return std::exchange(calls, {});
}

namespace {

std::string words(std::initializer_list<uint64_t> values) {
    std::string text;
    for (const uint64_t value : values)
        text += (text.empty() ? "" : " ") + std::to_string(value);
    return text;
}

void keep_nvram() {
    if (engine.flash != nullptr)
        engine.flash->put("datafs/nvram.bin", engine.nvram);
}

void keep_power(size_t word, uint32_t minutes) {
    if (engine.flash == nullptr)
        return;
    std::string file = engine.flash->get("datafs/kobnvram.bin");
    memcpy(file.data() + word * 4, &minutes, sizeof minutes);
    engine.flash->put("datafs/kobnvram.bin", file);
}

} // namespace
} // namespace varn::test

using varn::test::engine;
using varn::test::words;

extern "C" {

int32_t mvtc_read_nvram(uint32_t fd, void *table, uint32_t offset, uint32_t size) {
    const int32_t result = engine.note("read_nvram", words({fd, offset, size}));
    if (result >= 0)
        memcpy(table, engine.nvram.data() + offset, size);
    return result;
}

int32_t mvtc_write_nvram(uint32_t fd, uint32_t offset, const void *table, uint32_t size) {
    const int32_t result = engine.note("write_nvram", words({fd, offset, size}));
    if (result >= 0)
        memcpy(engine.nvram.data() + offset, table, size);
    varn::test::keep_nvram();
    return result;
}

int32_t mvtc_write_sleeptime(uint32_t fd, uint32_t minutes) {
    varn::test::keep_power(2, minutes);
    return engine.note("write_sleeptime", words({fd, minutes}));
}

int32_t mvtc_write_autoofftime(uint32_t fd, uint32_t minutes) {
    varn::test::keep_power(3, minutes);
    return engine.note("write_autoofftime", words({fd, minutes}));
}

int32_t mvtc_write_lcdc(uint32_t fd, const void *language, uint32_t size, uint32_t code) {
    uint32_t pointed = 0;
    memcpy(&pointed, language, sizeof pointed);
    memcpy(engine.nvram.data() + 76, language, sizeof pointed);
    varn::test::keep_nvram();
    return engine.note("write_lcdc", words({fd, pointed, size, code}));
}

int32_t mvtc_cmd_factorydefault(uint32_t fd) { return engine.note("factorydefault", words({fd})); }

int32_t mvtc_write_fwpackage(uint32_t fd, uintptr_t a, uintptr_t b, uintptr_t c) {
    return engine.note("write_fwpackage", words({fd, a, b, c}));
}

int32_t mvtc_read_H1_PCList(uint32_t fd, void *buffer, uint32_t size, uint32_t id) {
    const int32_t result = engine.note("read_PCList", words({fd, size, id}));
    if (result < 0)
        return result;
    std::string content(size, '\0');
    if (id == 5) {
        std::string records;
        for (const std::string &record : engine.pc_list)
            records += record;
        content.replace(0, size, records, 0, size);
        content.resize(size, '\0');
    } else {
        const auto hosts = std::ranges::count_if(engine.pc_list, [id](const std::string &record) {
            return id == 4 || record[384] != '\0';
        });
        const auto number = static_cast<uint32_t>(hosts);
        memcpy(content.data(), &number, sizeof number);
    }
    memcpy(buffer, content.data(), size);
    return result;
}

int32_t mvtc_write_H1_PCList(uint32_t fd, const void *entry, uint32_t operation) {
    const std::string record(static_cast<const char *>(entry), 4312);
    const std::string uuid = record.substr(256, 40);
    const int32_t result = engine.note("write_PCList", words({fd, operation}) + " " + uuid.c_str());
    if (result < 0)
        return result;
    const auto known = std::ranges::find_if(
        engine.pc_list, [&](const std::string &each) { return each.compare(256, 40, uuid) == 0; });
    if (operation == 2 && known != engine.pc_list.end())
        engine.pc_list.erase(known);
    else if (operation == 1 && known != engine.pc_list.end())
        *known = record;
    else if (operation == 1)
        engine.pc_list.push_back(record);
    return result;
}

int32_t mvtc_read_scan_param(uint32_t fd, void *block) {
    memcpy(block, engine.scan_param.data(), engine.scan_param.size());
    return engine.note("read_scan_param", words({fd}));
}

int32_t mvtc_write_scan_param(uint32_t fd, const void *block) {
    const int32_t result = engine.note("write_scan_param", words({fd}));
    if (result == 0)
        engine.scan_param.assign(static_cast<const char *>(block), 128);
    return result;
}

int32_t mvtc_cmd_pick_media(uint32_t fd, void *status) {
    varn::test::StatusRecord record;
    record.sensors = engine.sensors;
    memcpy(status, record.bytes().data(), 32);
    return engine.note("pick_media", words({fd}));
}

int32_t mvtc_cmd_startscan(uint32_t fd, void *scratch, uint32_t stored) {
    memset(scratch, 0xAA, 32);
    return engine.note("startscan", words({fd, stored}));
}

int32_t mvtc_read_blockimage(uint32_t fd) { return engine.note("read_blockimage", words({fd})); }

int32_t mvtc_cmd_outprocess_scan_end(uint32_t fd, void *record, uint32_t a, uint32_t b) {
    memset(record, 0xAA, 64);
    return engine.note("outprocess_scan_end", words({fd, a, b}));
}

int32_t mvtc_read_NetworkServer(uint32_t fd, uint32_t command, void *block, uint32_t size) {
    const int32_t result = engine.note("read_NetworkServer", words({fd, command, size}));
    if (result >= 0)
        memcpy(block, engine.net_block.data(), std::min<size_t>(size, engine.net_block.size()));
    return result;
}

int32_t mvtc_write2_NetworkServer(uint32_t fd, uint32_t command, const void *message,
                                  uint32_t length) {
    const std::string bytes(static_cast<const char *>(message), length);
    return engine.note("write2_NetworkServer", words({fd, command}) + " " + bytes);
}

int32_t mvtc_read_H1_RJList(uint32_t fd, void *buffer, uint32_t size, uint32_t id) {
    const int32_t result = engine.note("read_H1_RJList", words({fd, size, id}));
    if (result < 0)
        return result;
    std::string entries;
    for (const std::string &entry : engine.stored_jobs)
        entries += entry;
    const auto count = static_cast<uint32_t>(engine.stored_jobs.size());
    const std::string number(reinterpret_cast<const char *>(&count), sizeof count);
    const std::string &answer = id == 4 ? number : id == 5 ? entries : engine.started_job;
    memcpy(buffer, answer.data(), std::min<size_t>(size, answer.size()));
    return result;
}

int32_t mvtc_write_H1_RJList(uint32_t fd, const void *entry, uint32_t operation) {
    const std::string bytes(static_cast<const char *>(entry), 368);
    if (operation == 1)
        engine.stored_jobs.push_back(bytes);
    else
        std::erase_if(engine.stored_jobs, [&](const std::string &job) {
            return job.compare(312, 40, bytes, 312, 40) == 0;
        });
    return engine.note("write_H1_RJList", words({fd, operation}));
}
}
