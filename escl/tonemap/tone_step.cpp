/// From the tone settings of a request to the tone record and the engine's tables.

#include "escl/settings_parts.h"
#include "varn/escl_tone.h"

#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>

uint16_t pGammaTarvis_R[255] = {};
uint16_t pGammaTarvis_G[255] = {};
uint16_t pGammaTarvis_B[255] = {};
int32_t GammaTableSettingValue = 0;

namespace varn {
namespace {

constexpr varn_gamma_str default_tone = {180, 1003, 1003, 1490, 94};
constexpr varn_gamma_str scan_software_tone = {158, 1003, 1003, 1733, 39};

/// One tone setting: its element, its place in the record and its default.
struct ToneSetting {
    int *scan__ScanSettingsType::*element;
    uint16_t varn_gamma_str::*field;
    const char *name;
};
/// In the order in which the settings are taken.
constexpr ToneSetting tone_settings[] = {
    {&scan__ScanSettingsType::Brightness, &varn_gamma_str::byBrightness, "byBrightness"},
    {&scan__ScanSettingsType::Contrast, &varn_gamma_str::byContrast, "byContrast"},
    {&scan__ScanSettingsType::Gamma, &varn_gamma_str::wGamma, "wGamma"},
    {&scan__ScanSettingsType::Highlight, &varn_gamma_str::wHighlight, "wHighlight"},
    {&scan__ScanSettingsType::Shadow, &varn_gamma_str::wShadow, "wShadow"},
};

/// Returns 1 when the request changes the setting. A default that replaces another value is
/// deliberately no change.
int32_t take_setting(const ToneSetting &setting, const scan__ScanSettingsType &settings,
                     varn_gamma_str &gamma, bool stored_job) {
    uint16_t &field = gamma.*setting.field;
    const int *element = settings.*setting.element;
    if (element == nullptr) {
        field = default_tone.*setting.field;
        printf("%s default %s=%d\n", stored_job ? "RJ use" : "Use", setting.name, field);
        return 0;
    }
    const int32_t changed = *element != field ? 1 : 0;
    field = static_cast<uint16_t>(*element);
    return changed;
}

bool same_tone(const varn_gamma_str &a, const varn_gamma_str &b) {
    return memcmp(&a, &b, sizeof a) == 0;
}

void use_table(const uint16_t (&table)[255], const char *log) {
    for (uint16_t *target : {pGammaTarvis_R, pGammaTarvis_G, pGammaTarvis_B})
        memcpy(target, table, sizeof table);
    puts(log);
    store_word(GammaTableSettingValue, 1);
}

void log_tone(const varn_gamma_str &gamma) {
    printf("~~!!~~~ GammaStr.wGamma       = %d \n", gamma.wGamma);
    printf("~~!!~~~ GammaStr.byBrightness = %d \n", gamma.byBrightness);
    printf("~~!!~~~ GammaStr.byContrast   = %d \n", gamma.byContrast);
    printf("~~!!~~~ GammaStr.wHighlight   = %d \n", gamma.wHighlight);
    printf("~~!!~~~ GammaStr.wShadow      = %d \n", gamma.wShadow);
}

void log_properties() {
    constexpr struct {
        int32_t id;
        const char *format;
    } rows[] = {{TM_HIGHLIGHT, "TM_HIGHLIGHT  = %d\n"},
                {TM_SHADOW, "TM_SHADOW     = %d\n"},
                {TM_BRIGHTNESS, "TM_BRIGHTNESS = %d\n"},
                {TM_CONTRAST, "TM_CONTRAST   = %d\n"},
                {TM_GAMMA, "TM_GAMMA      = %d\n"}};
    for (const auto &row : rows) {
        int32_t value = 0;
        c_GetPropLong(row.id, &value);
        printf(row.format, value);
    }
}

/// Computes the curve of the present properties into the engine's three tables.
void compute_tables() {
    constexpr int32_t entries = 65536;
    const std::unique_ptr<uint16_t[]> curve(new (std::nothrow) uint16_t[entries]);
    if (curve == nullptr ||
        c_GetContoneTonemap(curve.get(), curve.get(), curve.get(), entries, 2, entries - 1) != 0)
        return;
    // A curve that falls leaves its table unfinished, and the scan goes on with it.
    for (uint16_t *table : {pGammaTarvis_R, pGammaTarvis_G, pGammaTarvis_B})
        TransferGamma2Tarvis(curve.get(), table, entries);
}

/// Only what the request names moves its property: the others keep that of an earlier request,
/// although the record holds the default.
void set_named_properties(const scan__ScanSettingsType &settings, const varn_gamma_str &gamma,
                          bool all) {
    const struct {
        const int *element;
        int32_t id;
        int32_t value;
    } rows[] = {{settings.Shadow, TM_SHADOW, gamma.wShadow},
                {settings.Highlight, TM_HIGHLIGHT, gamma.wHighlight},
                {settings.Gamma, TM_GAMMA, gamma.wGamma},
                {settings.Contrast, TM_CONTRAST, gamma.byContrast},
                {settings.Brightness, TM_BRIGHTNESS, gamma.byBrightness}};
    for (const auto &row : rows)
        if (all || row.element != nullptr)
            c_SetPropLong(row.id, row.value);
}

void use_changed_tone(const scan__ScanSettingsType &settings, const varn_gamma_str &gamma) {
    if (same_tone(gamma, scan_software_tone)) {
        use_table(GammaTableData_ZQ_Scan_Tone, "\n\n ~~USE ZQ Scan Default Gamma Table~~ \n");
        return;
    }
    if (same_tone(gamma, default_tone)) {
        use_table(GammaTableData_Level_5_Tone, "\n\n ~~USE FW Default Gamma Table~~ \n");
        return;
    }
    log_tone(gamma);
    set_named_properties(settings, gamma, false);
    compute_tables();
    for (size_t i = 0; i < std::size(pGammaTarvis_R); ++i)
        printf("0x%4x   0x%4x\n", static_cast<unsigned>(i), pGammaTarvis_R[i]);
}

/// The image-quality file has the last word, whatever the request asked for.
void use_image_quality(const ImageQuality &quality, varn_gamma_str &gamma) {
    c_SetPropLong(TM_SHADOW, quality.shadow);
    c_SetPropLong(TM_HIGHLIGHT, quality.highlight);
    c_SetPropLong(TM_GAMMA, quality.gamma);
    c_SetPropLong(TM_CONTRAST, quality.contrast);
    c_SetPropLong(TM_BRIGHTNESS, quality.brightness);
    gamma.wGamma = static_cast<uint16_t>(quality.gamma);
    gamma.byBrightness = static_cast<uint16_t>(quality.brightness);
    gamma.byContrast = static_cast<uint16_t>(quality.contrast);
    gamma.wHighlight = static_cast<uint16_t>(quality.highlight);
    gamma.wShadow = static_cast<uint16_t>(quality.shadow);
    store_word(GammaTableSettingValue, 1);
    compute_tables();
}

int32_t take_settings(const scan__ScanSettingsType &settings, varn_gamma_str &gamma,
                      bool stored_job) {
    int32_t changes = 0;
    for (const ToneSetting &setting : tone_settings)
        changes += take_setting(setting, settings, gamma, stored_job);
    store_word(GammaTableSettingValue, changes);
    return changes;
}

} // namespace

void apply_tone_settings(const scan__ScanSettingsType &settings, varn_gamma_str &gamma,
                         const ImageQuality *quality) {
    log_properties();
    if (take_settings(settings, gamma, false) != 0)
        use_changed_tone(settings, gamma);
    if (quality != nullptr)
        use_image_quality(*quality, gamma);
}

void apply_stored_tone_settings(const scan__ScanSettingsType &settings, varn_gamma_str &gamma) {
    if (take_settings(settings, gamma, true) == 0)
        return;
    set_named_properties(settings, gamma, true);
    compute_tables();
}

} // namespace varn
