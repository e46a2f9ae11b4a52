/// Product configuration: what the device is, and the four settings that a host may change.

#include "frame/document.h"
#include "frame/guards.h"
#include "frame/nvram.h"
#include "frame/root.h"
#include "platform/mvtc.h"
#include "varn/engine.h"
#include "varn/product.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

// --- Panel language -----------------------------------------------------------------------------

namespace {

struct Language {
    uint32_t code; ///< one bit each, English none
    const char *word;
};
constexpr Language languages[] = {
    {0, "en"},    {1, "fr"},     {2, "it"},     {4, "de"},     {8, "es"},     {16, "zh-TW"},
    {32, "ko"},   {64, "zh-CN"}, {128, "pt"},   {256, "ru"},   {512, "ar"},   {1024, "tr"},
    {2048, "id"}, {4096, "th"},  {16384, "cs"}, {32768, "sk"}, {65536, "pl"},
};

} // namespace

int32_t DevMgmt_GetPlatDevLang(uint32_t *code, const char *text) {
    if (code == nullptr || text == nullptr)
        return -1;
    const auto *row = std::find_if(std::begin(languages), std::end(languages),
                                   [&](const Language &l) { return strcmp(l.word, text) == 0; });
    if (row == std::end(languages)) {
        printf("%s, str=%s has no define map\n", __func__, text);
        row = languages;
    }
    *code = row->code;
    printf("%s, Get LCDLang=%d str=%s\n", __func__, static_cast<int>(*code), text);
    return 0;
}

int32_t DevMgmt_SetPlatDevLang(const uint32_t *code, char *dst) {
    if (code == nullptr || dst == nullptr)
        return -1;
    const auto *row = std::find_if(std::begin(languages), std::end(languages),
                                   [&](const Language &l) { return l.code == *code; });
    if (row == std::end(languages)) {
        printf("%s, out of case:%d\n", __func__, static_cast<int>(*code));
        row = languages;
    }
    strcpy(dst, row->word);
    printf("%s, Set LCDLang=%d str=%s\n", __func__, static_cast<int>(*code), dst);
    return 0;
}

// --- Sleep range --------------------------------------------------------------------------------

int32_t DevMgmt_AdjustPlatSleepRange(const char *text) {
    static constexpr char name[] = "/tmp/xml_tickets/DevMgmt/ProductConfigCap.xml";
    if (text == nullptr)
        return -1;
    const std::string path = varn::device_path(name);
    const varn::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() == 0) {
        printf("%s,Can't open %s\n", __func__, name);
        return -1;
    }
    struct stat info {};
    if (const int result = stat(path.c_str(), &info); result < 0) {
        printf("%s, Can't stat file %s\n", __func__, name);
        return result;
    }
    // One byte more than the file, so that the search for a text ends with it.
    const auto size = static_cast<size_t>(info.st_size);
    const std::unique_ptr<char, decltype(&free)> buffer(static_cast<char *>(calloc(size + 1, 1)),
                                                        free);
    if (buffer == nullptr) {
        printf("%s, Can't Allocate buffer\n", __func__);
        return -1;
    }
    const ssize_t got = read(file.get(), buffer.get(), size);
    if (got != static_cast<ssize_t>(size)) {
        printf("%s,Read size fail want to %d but get %d\n", __func__, static_cast<int>(size),
               static_cast<int>(got));
        return -1;
    }
    if (strstr(buffer.get(), text) == nullptr) {
        printf("%s,Can't find %s in %s\n", __func__, text, name);
        return -1;
    }
    return 0;
}

// --- GET ----------------------------------------------------------------------------------------

namespace varn {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/DevMgmt/ProductConfigDyn.xml";
constexpr char model[] = "ZQ Ravelin Tide T7700 tnw1";
constexpr char product_number[] = "31K47C";

struct Configuration {
    char firmware_version[128] = {};
    char firmware_date[128] = {};
    char uuid[64] = {};
    char serial_number[16] = {};
    char service_id[8] = {};
    char asset_number[65] = {};
    char power_save[16] = {};
    uint32_t auto_off = 0;
    char language[8] = {};
    char available_memory[32] = {};
    char total_memory[32] = {};
};

/// A value whose file is missing stays empty.
Configuration gather_configuration() {
    Configuration c;
    NvramTable table = {};
    const bool has_table = read_nvram(&table) == 0;
    PowerInfo power = {};
    const bool has_power = read_power_info(power);
    read_FW_version(c.firmware_version);
    read_FW_date(c.firmware_date);
    memcpy(c.uuid, table.uuid, sizeof table.uuid);
    memcpy(c.serial_number, table.serial_number,
           strnlen(table.serial_number, sizeof table.serial_number));
    read_service_id(c.service_id, reinterpret_cast<const uint8_t *>(&table));
    memcpy(c.asset_number, table.asset_number, sizeof table.asset_number);
    if (has_power) {
        power_save_word(power, c.power_save);
        auto_off_code(power, &c.auto_off);
    }
    if (has_table)
        language_word(table, c.language);
    snprintf(c.available_memory, sizeof c.available_memory, "%dMB",
             static_cast<int>(sysconf(_SC_AVPHYS_PAGES) / 256));
    snprintf(c.total_memory, sizeof c.total_memory, "%dMB",
             static_cast<int>(sysconf(_SC_PHYS_PAGES) / 256));
    return c;
}

prdcfgdyn__ProductInformation *fill_information(Document &document, const Configuration &c) {
    auto *info = document.make<prdcfgdyn__ProductInformation>();
    if (info == nullptr)
        return nullptr;
    info->dd__Version = document.version(c.firmware_version, c.firmware_date);
    // One text for the three: hosts find it once and two references to it.
    info->dd__MakeAndModel_ = document.text(model);
    info->dd__MakeAndModelBase = info->dd__MakeAndModel_;
    info->dd__MakeAndModelFamily = info->dd__MakeAndModel_;
    info->dd__UUID_ = document.text(c.uuid);
    info->dd__SerialNumber_ = document.text(c.serial_number);
    info->dd__ProductNumber_ = document.text(product_number);
    info->dd__ServiceID_ = document.text(c.service_id);
    return info;
}

prdcfgdyn2__ProductSettings *fill_settings(Document &document, const Configuration &c) {
    auto *settings = document.make<prdcfgdyn2__ProductSettings>();
    auto *language = document.make<prdcfgdyn__ProductLanguage>();
    auto *country = document.make<dd__CountryAndRegionName>();
    if (settings == nullptr || language == nullptr || country == nullptr)
        return settings;
    settings->dd__AssetNumber = document.text(c.asset_number);
    settings->dd__PowerSaveTimeout_ = document.text(c.power_save);
    settings->dd__AutoOffTime = document.value(static_cast<enum dd__AutoOffTime>(c.auto_off));
    language->dd__DeviceLanguage = document.text(c.language);
    settings->prdcfgdyn__ProductLanguage = language;
    country->__item = document.text("unitedStates");
    settings->prdcfgdyn__CountryAndRegionName = country;
    return settings;
}

prdcfgdyn__Memory *fill_memory(Document &document, const Configuration &c) {
    auto *memory = document.make<prdcfgdyn__Memory>();
    if (memory == nullptr)
        return nullptr;
    memory->dd__AvailableMemory = document.text(c.available_memory);
    memory->dd__TotalMemory = document.text(c.total_memory);
    memory->__sizeMemorySlot = 1; // without an array behind it no slot is written
    return memory;
}

} // namespace
} // namespace varn

int32_t VARN_GetProductConfigDyn(char **out_buf, uint32_t *out_len) {
    const varn::Configuration c = varn::gather_configuration();
    return varn::get_document<prdcfgdyn2__ProductConfigDyn>(
        varn::product_get, varn::ticket, out_buf, out_len,
        [&](varn::Document &document, prdcfgdyn2__ProductConfigDyn &root) {
            root.dd__Version = document.version("SVN-OLK-VARN.749", "2014-04-25");
            root.prdcfgdyn__ProductInformation = varn::fill_information(document, c);
            root.ProductSettings = varn::fill_settings(document, c);
            root.prdcfgdyn__Memory = varn::fill_memory(document, c);
        });
}

int32_t VARN_GetProductConfigCap(char **out_buf, uint32_t *out_len) {
    // The document that is served and the one that the sleep range is searched in are two.
    return varn::get_static(__func__, "/tmp/xml_tickets/DevMgmt/ProductConfigCap.xml",
                            "/tmp/xml_tickets/DevMgmt/ProductConfigCap_RTC.xml", out_buf, out_len);
}

// --- PUT ----------------------------------------------------------------------------------------

namespace varn {
namespace {

constexpr size_t asset_number_limit = 63;

/// The reader of this resource's request document.
const char *request = nullptr;
size_t request_length = 0;
size_t request_offset = 0;

/// The first read delivers the document; the runtime then asks for no more. A document that is
/// longer than its buffer ends there: what follows is never handed over.
size_t receive_request(soap *, char *dst, size_t n) {
    const size_t count = std::min(n, request_length);
    if (request_offset + count > request_length)
        return 0;
    strncpy(dst, request + request_offset, count);
    request_offset += count;
    return count;
}

/// An engine failure in any of the writes is not looked at: the next GET shows what the engine
/// holds.
int32_t apply_asset_number(uint32_t fd, const char *text, NvramTable &table) {
    printf("Set dd__AssetNumber %s\n", text);
    if (strlen(text) > asset_number_limit)
        return 400;
    snprintf(table.asset_number, sizeof table.asset_number, "%s", text);
    mvtc_write_nvram(fd, 0, &table, sizeof table);
    return 0;
}

int32_t apply_power_save(uint32_t fd, const char *text) {
    if (is_xmlstr_valid_powersavetime(text) != 0)
        return 400;
    uint32_t minutes = 0;
    map_powersavetime2kobnvram(text, &minutes);
    printf("======>Map dd__PowerSaveTimeout_ from %s to %d\n", text, static_cast<int>(minutes));
    mvtc_write_sleeptime(fd, minutes);
    return 0;
}

int32_t apply_auto_off(uint32_t fd, uint32_t code) {
    if (is_xmlenum_valid_autoofftime(code) != 0)
        return 400;
    uint32_t minutes = 0;
    map_autoofftime2kobnvram(static_cast<int32_t>(code), &minutes);
    printf("===>Map dd__AutoOffTime from %d to %d\n", static_cast<int>(code),
           static_cast<int>(minutes));
    mvtc_write_autoofftime(fd, minutes);
    return 0;
}

int32_t apply_language(uint32_t fd, const char *word, NvramTable &table) {
    if (word == nullptr)
        return 400;
    uint32_t code = 0;
    map_xmlstr2st_productconfig_devicelanguge(word, &code);
    printf("Set dd__DeviceLanguage %d\n", static_cast<int>(code));
    table.LCDLang = code;
    mvtc_write_lcdc(fd, &code, sizeof code, code);
    return 0;
}

bool has_read_only(const prdcfgdyn__ProductInformation &info) {
    return info.dd__Version != nullptr || info.dd__MakeAndModel_ != nullptr ||
           info.dd__MakeAndModelBase != nullptr || info.dd__MakeAndModelFamily != nullptr ||
           info.dd__UUID_ != nullptr || info.dd__SerialNumber_ != nullptr ||
           info.dd__ProductNumber_ != nullptr;
}

/// Each setting acts at once: a refusal leaves those before it applied.
int32_t apply_settings(uint32_t fd, const prdcfgdyn2__ProductSettings &settings,
                       NvramTable &table) {
    int32_t result = 0;
    if (settings.dd__AssetNumber != nullptr)
        result = apply_asset_number(fd, settings.dd__AssetNumber, table);
    if (result == 0 && settings.dd__PowerSaveTimeout_ != nullptr)
        result = apply_power_save(fd, settings.dd__PowerSaveTimeout_);
    if (result == 0 && settings.dd__AutoOffTime != nullptr)
        result = apply_auto_off(fd, static_cast<uint32_t>(*settings.dd__AutoOffTime));
    if (result == 0 && settings.prdcfgdyn__ProductLanguage != nullptr)
        result = apply_language(fd, settings.prdcfgdyn__ProductLanguage->dd__DeviceLanguage, table);
    return result;
}

int32_t apply(uint32_t fd, const prdcfgdyn2__ProductConfigDyn &root, NvramTable &table) {
    const prdcfgdyn__ProductInformation *info = root.prdcfgdyn__ProductInformation;
    if (info == nullptr && root.ProductSettings == nullptr) {
        puts("Can't find ProductInformation and ProductSettings");
        return 400;
    }
    if (root.prdcfgdyn__Memory != nullptr || root.prdcfgdyn__EmailAlerts != nullptr) {
        puts("Client passes some items are not in CAP file!");
        return 400;
    }
    if (info != nullptr && has_read_only(*info)) {
        puts("Hey man, can't put a read only item!");
        return 405;
    }
    return root.ProductSettings != nullptr ? apply_settings(fd, *root.ProductSettings, table) : 0;
}

} // namespace
} // namespace varn

int32_t VARN_PutProductConfigDyn(uint32_t fd, char *xml) {
    if (xml == nullptr)
        return -1;
    varn::request = xml;
    varn::request_length = strlen(xml);
    varn::request_offset = 0;
    printf("%s, xml_len=%d\n", "gsoap_read_prdcfgdyn", static_cast<int>(varn::request_length));
    if (check_xmlstr_valid(xml) != 0) {
        printf("%s, xml string is not valid\n", "gsoap_read_prdcfgdyn");
        return 400;
    }
    varn::Document document(varn::private_put);
    // The engine's table, since the whole of it is written back with the asset number.
    varn::NvramTable table = {};
    if (mvtc_read_nvram(fd, &table, 0, sizeof table) < 0)
        read_nvram(&table);
    prdcfgdyn2__ProductConfigDyn root;
    // The part before a fault is not applied: what cannot be read whole has no elements.
    if (!document.read(varn::receive_request, root))
        root = {};
    return varn::apply(fd, root, table);
}
