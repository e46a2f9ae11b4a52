/// The tone map against a plain computation, entry for entry.

#include "plain_tonemap.h"
#include "varn/escl_tone.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr size_t entries = 65536;

void set(const PlainProperties &p) {
    c_SetPropDouble(TM_HIGHLIGHT, p.highlight);
    c_SetPropDouble(TM_SHADOW, p.shadow);
    c_SetPropDouble(TM_BRIGHTNESS, p.brightness);
    c_SetPropDouble(TM_CONTRAST, p.contrast);
    c_SetPropDouble(TM_GAMMA, p.gamma);
}

std::string name(const PlainProperties &p) {
    return "highlight " + std::to_string(p.highlight) + " shadow " + std::to_string(p.shadow) +
           " brightness " + std::to_string(p.brightness) + " contrast " +
           std::to_string(p.contrast) + " gamma " + std::to_string(p.gamma);
}

std::vector<uint16_t> curve() {
    std::vector<uint16_t> r(entries);
    std::vector<uint16_t> g(entries);
    std::vector<uint16_t> b(entries);
    EXPECT_EQ(c_GetContoneTonemap(r.data(), g.data(), b.data(), entries, 2, 65535), 0);
    EXPECT_EQ(r, g);
    EXPECT_EQ(r, b);
    return r;
}

/// Curves that never fall by more than a level have the plain inverse; others end early.
void expect_same(const PlainProperties &p) {
    SCOPED_TRACE(name(p));
    set(p);
    const std::vector<uint16_t> computed = curve();
    const std::vector<int> expected = plain_tonemap(p, 65535);
    for (size_t i = 0; i < entries; ++i)
        ASSERT_EQ(computed[i], expected[i]) << "entry " << i;
    uint16_t table[255] = {};
    if (TransferGamma2Tarvis(computed.data(), table, 0) != 0)
        return;
    const std::vector<int> inverse = plain_table(expected);
    for (size_t k = 0; k < 255; ++k)
        ASSERT_EQ(table[k], inverse[k]) << "table entry " << k;
}

TEST(ToneMap, EqualsThePlainComputationOverAGrid) {
    for (double gamma : {1.0, 1.01, 1.02, 1.8, 4.0})
        for (double contrast : {-1.0, -0.01, 0.0, 0.05, 0.5, 1.0})
            for (double brightness : {-1.0, -0.3, -0.19, -0.01, 0.0, 0.4, 1.0})
                expect_same({0.745, 0.047, brightness, contrast, gamma});
}

TEST(ToneMap, EqualsThePlainComputationAtTheEndsOfShadowAndHighlight) {
    const PlainProperties rows[] = {
        {0.2, 0.6, 0, 0, 1.8},
        {1, 0, 0, 0, 1},
        {0, 0, 0, 0, 1},
        {0, 1, 0, 1, 1.8},
        {1, 1, 1, 1, 4},
        {0.5, 0.5, -1, -1, 2.2},
        {0.004, 0, 0.9, 0.9, 1.5},
        {0.95, 0.9, 1, 1, 1.01},
        {0.8665, 0.0195, -0.0078, -0.0078, 1.58},
    };
    for (const PlainProperties &row : rows)
        expect_same(row);
}

TEST(ToneMap, OneByteTablesHaveAllEntriesToo) {
    const PlainProperties p{0.745, 0.047, 0.1, 0.2, 1.8};
    set(p);
    std::vector<uint8_t> r(entries + 1, 0xAA);
    std::vector<uint8_t> g(r);
    std::vector<uint8_t> b(r);
    ASSERT_EQ(c_GetContoneTonemap(r.data(), g.data(), b.data(), 256, 1, 255), 0);
    const std::vector<int> expected = plain_tonemap(p, 255);
    for (size_t i = 0; i < entries; ++i)
        ASSERT_EQ(r[i], expected[i]) << "entry " << i;
    EXPECT_EQ(r[entries], 0xAA);
    EXPECT_EQ(r, b);
}

TEST(ToneMap, OtherSizesWriteNothing) {
    const struct {
        int32_t entries, bytes;
    } rows[] = {{512, 1}, {512, 2}, {256, 2}, {0, 1}, {-1, 2}};
    for (const auto &row : rows) {
        uint16_t out = 7;
        EXPECT_EQ(c_GetContoneTonemap(&out, &out, &out, row.entries, row.bytes, 0), 1);
        EXPECT_EQ(out, 7);
    }
}

TEST(ToneProperties, SettingsBecomePropertiesAndComeBackForTheLog) {
    const struct {
        int32_t id, value, back;
    } rows[] = {
        {TM_HIGHLIGHT, 1490, 1490}, {TM_HIGHLIGHT, 5000, 2000}, {TM_SHADOW, 94, 94},
        {TM_SHADOW, -3, 0},         {TM_GAMMA, 180, 100},       {TM_GAMMA, 99, 100},
        {TM_GAMMA, 500, 400},       {TM_BRIGHTNESS, 1003, 120}, {TM_CONTRAST, 2000, 1124},
        {TM_CONTRAST, 0, -875},
    };
    for (const auto &row : rows) {
        c_SetPropLong(row.id, row.value);
        int32_t back = 0;
        c_GetPropLong(row.id, &back);
        EXPECT_EQ(back, row.back) << row.id << " set to " << row.value;
    }
    EXPECT_EQ(c_SetPropDouble(107, 1), 1);
    int32_t untouched = 77;
    c_GetPropLong(TM_THRESHOLD, &untouched);
    EXPECT_EQ(untouched, 77);
}

TEST(ToneTransfer, FallsAreToleratedByOneLevelOnly) {
    std::vector<uint16_t> rising(entries);
    for (size_t i = 0; i < entries; ++i)
        rising[i] = static_cast<uint16_t>(i);
    uint16_t table[255] = {};
    EXPECT_EQ(TransferGamma2Tarvis(rising.data(), table, 0), 0);
    EXPECT_EQ(table[0], 256);
    EXPECT_EQ(table[254], 65280);

    std::vector<uint16_t> dip = rising;
    dip[0x5080] = 0x4FFF; // one level down, and back up
    EXPECT_EQ(TransferGamma2Tarvis(dip.data(), table, 0), 0);
    EXPECT_EQ(table[0x50], 0x5100);

    dip[0x6000] = 0x5DFF;
    EXPECT_EQ(TransferGamma2Tarvis(dip.data(), table, 0), -1);

    const std::vector<uint16_t> low(entries, 0x0300);
    EXPECT_EQ(TransferGamma2Tarvis(low.data(), table, 0), 0);
    EXPECT_EQ(table[254], table[2]);
    EXPECT_EQ(TransferGamma2Tarvis(low.data(), nullptr, 0), 0);
}

} // namespace
