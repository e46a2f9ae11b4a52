/// The 64-byte record that the engine's image socket gives.
#pragma once

#include <cstddef>
#include <cstdint>

namespace varn {

#pragma pack(push, 1)
struct BlockStatus {
    uint32_t dwLastErr; ///< 0x1005 last block of an image; above 0x2000 an error
    uint8_t reserved4[2];
    uint8_t byFlowStatus; ///< after a sheet: 2 more to come, 4 job finished
    uint8_t reserved7[4];
    uint8_t byImageKind;
    uint8_t reserved12[4];
    uint32_t dwImageHeight; ///< lines
    uint32_t dwImageWidth;  ///< pixels
    uint32_t dwBytesPerLine;
    uint8_t reserved28[12];
    uint32_t dwBlockCount; ///< blocks of the engine's ring
    uint8_t reserved44[5];
    uint8_t byColorDetected;
    uint8_t reserved50[6];
    uint16_t wCropBlank; ///< low byte auto crop applied, high byte blank page
    uint8_t byDataCheck; ///< multipick
    uint8_t reserved59[5];
};
#pragma pack(pop)
static_assert(sizeof(BlockStatus) == 64 && offsetof(BlockStatus, dwImageHeight) == 16 &&
              offsetof(BlockStatus, dwBlockCount) == 40 &&
              offsetof(BlockStatus, byColorDetected) == 49 &&
              offsetof(BlockStatus, wCropBlank) == 56 && offsetof(BlockStatus, byDataCheck) == 58);

constexpr uint8_t flow_more = 2;
constexpr uint8_t flow_finished = 4;

} // namespace varn
