/// From the tone settings of a request to the tone record and the engine's tables.

#include "escl/settings_parts.h"
#include "escl/tonemap/builtin_tables.h"

#include <cstdio>
#include <cstring>

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

void use_table(const std::array<uint16_t, tone_entries> &table, const char *log) {
    for (uint16_t *target : {pGammaTarvis_R, pGammaTarvis_G, pGammaTarvis_B})
        memcpy(target, table.data(), sizeof pGammaTarvis_R);
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

} // namespace

void apply_tone_settings(const scan__ScanSettingsType &settings, varn_gamma_str &gamma,
                         bool stored_job) {
    int32_t changes = 0;
    for (const ToneSetting &setting : tone_settings)
        changes += take_setting(setting, settings, gamma, stored_job);
    store_word(GammaTableSettingValue, changes);
    if (changes == 0 || stored_job)
        return;
    if (same_tone(gamma, scan_software_tone))
        use_table(GammaTableData_ZQ_Scan_Tone, "\n\n ~~USE ZQ Scan Default Gamma Table~~ \n");
    else if (same_tone(gamma, default_tone))
        use_table(GammaTableData_Level_5_Tone, "\n\n ~~USE FW Default Gamma Table~~ \n");
    else
        log_tone(gamma);
}

} // namespace varn
