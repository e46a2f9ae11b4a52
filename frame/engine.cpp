/// Files that the engine side keeps, their words in documents, and the plain engine operations.

#include "varn/engine.h"
#include "frame/guards.h"
#include "frame/nvram.h"
#include "frame/root.h"
#include "platform/mvtc.h"
#include "platform/nvram_xml.h"
#include "varn/frame.h"
#include "varn/product.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using varn::NvramTable;
using varn::PowerInfo;
using varn::UniqueFd;

namespace {

constexpr char nvram_file[] = "/datafs/nvram.bin";
constexpr char power_file[] = "/datafs/kobnvram.bin";

UniqueFd open_device_file(const char *path) {
    return UniqueFd(open(varn::device_path(path).c_str(), O_RDWR | O_CLOEXEC));
}

/// One read of at most `size` bytes from the start; -1 when the file does not open.
int32_t read_start(const char *path, void *dst, size_t size) {
    const UniqueFd file = open_device_file(path);
    if (!file.ok())
        return -1;
    // What a short file does not hold stays as the caller had it.
    [[maybe_unused]] const ssize_t got = read(file.get(), dst, size);
    return 0;
}

int32_t write_start(const char *path, const void *src, size_t size) {
    const UniqueFd file = open_device_file(path);
    if (!file.ok())
        return -1;
    return write(file.get(), src, size) == static_cast<ssize_t>(size) ? 0 : -1;
}

/// A small text file into `dst` of `size` bytes, terminated.
int32_t read_text(const char *caller, const char *path, char *dst, size_t size) {
    if (dst == nullptr)
        return -1;
    const UniqueFd file = open_device_file(path);
    if (!file.ok()) {
        printf("%s,fd <0\n", caller);
        return -1;
    }
    // A file that fills the buffer loses its last byte to the terminator.
    memset(dst, 0, size);
    [[maybe_unused]] const ssize_t got = read(file.get(), dst, size - 1);
    return 0;
}

} // namespace

int32_t read_nvram(void *table) {
    return table == nullptr ? -1 : read_start(nvram_file, table, sizeof(NvramTable));
}

int32_t write_nvram(void *table) {
    return table == nullptr ? -1 : write_start(nvram_file, table, sizeof(NvramTable));
}

int32_t read_AutoOffInfo(void *word) {
    return word == nullptr ? -1 : read_start(power_file, word, 4);
}

int32_t write_AutoOffInfo(const void *word) {
    return word == nullptr ? -1 : write_start(power_file, word, 4);
}

int32_t read_FW_version(char *dst) { return read_text(__func__, "/tmp/fw_ver.txt", dst, 128); }

int32_t read_FW_date(char *dst) { return read_text(__func__, "/tmp/fw_verdate.txt", dst, 128); }

int32_t read_FW_dram_size(char *dst) { return read_text(__func__, "/tmp/ftdram.txt", dst, 16); }

int32_t read_service_id(char *dst, const uint8_t *table) {
    if (dst == nullptr || table == nullptr)
        return -1;
    NvramTable nvram;
    memcpy(&nvram, table, sizeof nvram);
    printf("Get nvramtable.MTDY=%d\n", nvram.MTDY);
    printf("Get nvramtable.MTDM=%d\n", nvram.MTDM);
    printf("Get nvramtable.MTDD=%d\n", nvram.MTDD);

    // The identifier has room for two digits of the year and three of the day: a date outside
    // the calendar keeps the last ones.
    char year[12] = "00";
    if (nvram.MTDY != 0)
        snprintf(year, sizeof year, "%02d", (nvram.MTDY + 10) % 100);
    const int month_days = nvram.MTDM > 0 ? (nvram.MTDM - 1) * 30 : 0;
    const int day_number = month_days + std::min<int>(nvram.MTDD, 30);
    char day[12];
    snprintf(day, sizeof day, "%03d", day_number % 1000);
    printf("Get srv_id_first2digits=%s\n", year);
    printf("Get srv_id_last3digits=%s\n", day);
    snprintf(dst, 6, "%.2s%.3s", year, day);
    printf("Set Service ID to %s\n", dst);
    return 0;
}

void varn::language_word(const NvramTable &table, char *dst) {
    const uint32_t code = table.LCDLang;
    printf("Get nvramtable.LCDLang=%d \n", static_cast<int>(code));
    DevMgmt_SetPlatDevLang(&code, dst);
}

int32_t set_str_devicelanguage(char *dst) {
    NvramTable table = {};
    if (dst == nullptr || read_start(nvram_file, &table, sizeof table) != 0)
        return -1;
    varn::language_word(table, dst);
    return 0;
}

// --- Sleep and auto-off times -------------------------------------------------------------------

namespace {

struct SleepWord {
    const char *text;
    uint32_t minutes;
};
/// What a word stores. Fifteen minutes are 13 on this product.
constexpr SleepWord sleep_written[] = {
    {"never", 0},      {"1minute", 1}, {"5minutes", 5}, {"15minutes", 13},
    {"30minutes", 30}, {"1hour", 60},  {"2hours", 120}, {"4hours", 240},
};
/// What a stored value shows; the words between are written but never read back.
constexpr SleepWord sleep_shown[] = {
    {"never", 0},  {"15minutes", 13}, {"15minutes", 15},
    {"1hour", 60}, {"4hours", 240},   {"4hours", 280},
};

struct AutoOffCode {
    uint32_t code;
    uint32_t minutes;
    bool settable; ///< one hour is shown when the engine holds it, but a host cannot set it
};
constexpr AutoOffCode auto_off_codes[] = {
    {0, 0, true}, {5, 20, true}, {7, 60, false}, {8, 120, true}, {10, 240, true}, {14, 480, true},
};

} // namespace

bool varn::read_power_info(PowerInfo &info) {
    return read_start(power_file, &info, sizeof info) == 0;
}

void varn::power_save_word(const PowerInfo &info, char *dst) {
    for (const SleepWord &word : sleep_shown)
        if (word.minutes == info.timeToSleep_mins) {
            strcpy(dst, word.text);
            return;
        }
    printf("%s: Can't case %d\n", "set_str_powersavetime", static_cast<int>(info.timeToSleep_mins));
}

void varn::auto_off_code(const PowerInfo &info, uint32_t *code) {
    for (const AutoOffCode &row : auto_off_codes)
        if (row.minutes == info.autoOffSetting_mins) {
            *code = row.code;
            return;
        }
    printf("%s can not case %d\n", "set_enum_autoofftime",
           static_cast<int>(info.autoOffSetting_mins));
}

int32_t set_str_powersavetime(char *dst) {
    PowerInfo info = {};
    if (dst == nullptr || !varn::read_power_info(info))
        return -1;
    varn::power_save_word(info, dst);
    return 0;
}

int32_t set_enum_autoofftime(uint32_t *code) {
    PowerInfo info = {};
    if (code == nullptr || !varn::read_power_info(info))
        return -1;
    varn::auto_off_code(info, code);
    return 0;
}

int32_t map_autoofftime2kobnvram(int32_t code, uint32_t *minutes) {
    for (const AutoOffCode &row : auto_off_codes)
        if (row.settable && static_cast<int32_t>(row.code) == code) {
            if (minutes == nullptr)
                return -1;
            *minutes = row.minutes;
            return 0;
        }
    printf("%s can't switch enumvalue=%d\n", __func__, code);
    return -1;
}

int32_t is_xmlenum_valid_autoofftime(uint32_t code) {
    constexpr uint32_t settable_mask = 0x4521;
    if (code <= 14 && (settable_mask >> code & 1) != 0)
        return 0;
    printf("%s can't switch enumvalue=%d\n", __func__, static_cast<int>(code));
    return -1;
}

int32_t map_powersavetime2kobnvram(const char *text, uint32_t *minutes) {
    if (text == nullptr || minutes == nullptr)
        return -1;
    for (const SleepWord &word : sleep_written)
        if (strcmp(word.text, text) == 0) {
            *minutes = word.minutes;
            return 0;
        }
    printf("%s, str=%s has no define map\n", __func__, text);
    *minutes = UINT32_MAX;
    return 0;
}

int32_t is_xmlstr_valid_powersavetime(const char *text) {
    return text == nullptr ? -1 : DevMgmt_AdjustPlatSleepRange(text);
}

int32_t map_xmlstr2st_productconfig_devicelanguge(const char *text, uint32_t *code) {
    if (text == nullptr || code == nullptr)
        return -1;
    DevMgmt_GetPlatDevLang(code, text);
    return 0;
}

// --- Engine operations that a host reaches directly ----------------------------------------------

int32_t KOB_UpdateFWPackage(uint32_t fd, uintptr_t a, uintptr_t b, uintptr_t c) {
    printf("%s....\n", __func__);
    return mvtc_write_fwpackage(fd, a, b, c);
}

int32_t KOB_FactoryDefault(uint32_t fd) {
    const int32_t result = mvtc_cmd_factorydefault(fd);
    return result < 0 ? 500 : result;
}

int32_t KOB_PostNVRamXML(uint32_t fd, const char *xml) {
    if (xml == nullptr)
        return -1;
    NvramTable table = {};
    read_nvram(&table);
    if (wrapper_xml2nvramformat(xml, &table) != 0)
        return 400;
    const int32_t result = mvtc_write_nvram(fd, 0, &table, sizeof table);
    return result < 0 ? 500 : result;
}

int32_t KOB_GetNVRamXML(uint32_t fd, char **out_buf, uint32_t *out_len) {
    static constexpr char document[] = "/tmp/scanner_nvram.xml";
    NvramTable table = {};
    if (mvtc_read_nvram(fd, &table, 0, sizeof table) < 0)
        return 500;
    wrapper_nvram2xmlformat(&table, varn::device_path(document).c_str());
    return common_read_file_data(document, out_buf, out_len);
}
