/// Records on the engine's sockets and in its lists, byte for byte.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

inline constexpr std::uint32_t action_signature = 544;

/// Engine error words (`dwLastErr`).
enum EngineError : std::uint32_t {
    err_none = 0,
    err_image_complete = 0x1005,
    err_mispick = 0x2001,
    err_jam = 0x2002,
    err_jam_exit = 0x2003,
    err_multipick = 0x2004,
    err_page_too_long = 0x2007,
    err_page_too_short = 0x2008,
    err_hatch_open = 0x2009,
    err_feeder_empty = 0x200E,
    err_tray_closed = 0x2016,
    err_cancelled_at_device = 0x4001,
    err_abort_scan = 0x4002,
};
inline constexpr std::uint32_t err_limit = 0x2000; ///< a word above it is an error

/// Heads every request on the action and the image socket.
struct ActionCommand {
    u32le dwSignature; ///< always `action_signature`
    std::uint8_t byOPCode = 0;
    std::uint8_t reserved5 = 0;
    std::uint8_t bySubCommand = 0;
    std::uint8_t reserved7 = 0;
    u16le wDTQ;
    u16le reserved10;
    u32le dwLength; ///< bytes of the payload that follows or is asked for
};
static_assert(sizeof(ActionCommand) == 16 && offsetof(ActionCommand, wDTQ) == 8 &&
              offsetof(ActionCommand, dwLength) == 12);

/// Reply to the status command, and what picking media gives.
struct ScannerStatus {
    u32le dwLastErr;
    u16le wFWInfo; ///< 0 idle, 4 busy
    std::uint8_t byFlowStatus = 0;
    std::uint8_t byID = 0;
    u16le wSensorStatus; ///< bit 0 hatch open, bit 1 paper in the feeder
    std::uint8_t reserved10[12] = {};
    std::uint8_t byPanelTakeover = 0;
    std::uint8_t reserved23[7] = {};
    std::uint8_t byPowerDown = 0;
    std::uint8_t reserved31 = 0;
};
static_assert(sizeof(ScannerStatus) == 32 && offsetof(ScannerStatus, byPanelTakeover) == 22 &&
              offsetof(ScannerStatus, byPowerDown) == 30);

/// What the image socket gives for a block, for a cancel, and after a whole sheet.
struct BlockStatus {
    u32le dwLastErr;
    std::uint8_t reserved4[2] = {};
    std::uint8_t byFlowStatus = 0; ///< after a sheet: 2 more to come, 4 job finished
    std::uint8_t reserved7[4] = {};
    std::uint8_t byImageKind = 0;
    std::uint8_t reserved12[4] = {};
    u32le dwImageHeight; ///< lines of the whole image, in its last block
    u32le dwImageWidth;  ///< pixels
    u32le dwBytesPerLine;
    u32le dwDataLength; ///< bytes of this block in the ring; between engine and web server only
    u32le reserved32;
    u32le dwImageIndex; ///< image of the job, from 0; between engine and web server only
    u32le dwBlockCount; ///< blocks of the ring
    std::uint8_t reserved44[5] = {};
    std::uint8_t byColorDetected = 0;
    std::uint8_t reserved50[6] = {};
    u16le wCropBlank;             ///< low byte: auto crop applied; high byte: blank page
    std::uint8_t byDataCheck = 0; ///< not 0: multipick
    std::uint8_t reserved59[5] = {};
};
static_assert(sizeof(BlockStatus) == 64 && offsetof(BlockStatus, dwImageHeight) == 16 &&
              offsetof(BlockStatus, dwDataLength) == 28 &&
              offsetof(BlockStatus, dwBlockCount) == 40 &&
              offsetof(BlockStatus, byColorDetected) == 49 &&
              offsetof(BlockStatus, wCropBlank) == 56 && offsetof(BlockStatus, byDataCheck) == 58);

/// The four bytes that acknowledge a block.
inline constexpr std::uint8_t block_acknowledgement[4] = {1, 0, 0, 0};

/// Scan parameter block: the settings of one scan.
struct ScanWindow {
    u32le xPos, yPos, xExtent, yExtent; ///< pixels and lines at scan resolution
};
struct ScanParam {
    u32le dwADF; ///< 0 flatbed, 6 feeder one-sided, 4 feeder two-sided
    std::uint8_t byInDataType = 0;
    std::uint8_t byOutDataType = 0; ///< 1 bi-level, 2 grey, 3 colour
    std::uint8_t byInPixelBits = 0;
    std::uint8_t byOutPixelBits = 0;
    u32le dwWidthPixels;
    u32le dwWidthBytes;
    u16le wXresolution; ///< dots per inch
    u16le wYresolution;
    ScanWindow window;
    u32le dwPaperWidth;
    u32le dwPaperHeight;
    u16le wXScaleRatio; ///< percent
    u16le wYScaleRatio;
    std::uint8_t byScaleRatio = 0;
    std::uint8_t byRotateMode_Bottom = 0;
    std::uint8_t byRotateMode_Top = 0;
    std::uint8_t byChannelDropOut = 0; ///< 6 grey from all channels, 1 red, 2 green, 3 blue
    std::uint8_t byCompression = 0;    ///< level 1 (best picture) upward
    std::uint8_t reserved53 = 0;
    u16le wImageOutputMode; ///< 11 colour, 101 grey, 166 bi-level
    u32le dwImageProcess;
    std::uint8_t byOverScanLines = 0;
    std::uint8_t reserved61 = 0;
    std::uint8_t byContrastBrightness = 0;
    std::uint8_t byHalftoneThreshold = 0;
    std::uint8_t byThresholdRandomRange = 0;
    std::uint8_t byHalftoneDitherPattern = 0;
    std::uint8_t bySpecialMode = 0;
    std::uint8_t byMiscOptions = 0; ///< bit 0 black background, 2 multipick detection, 3 overscan
    std::uint8_t byPDFType = 0;
    std::uint8_t bySharpSmooth = 0;
    std::uint8_t reserved70[2] = {};
    u32le dwRealLineNum;
    u32le dwImageProcess2;
    std::uint8_t reserved80[13] = {};
    std::uint8_t byBlankPageSensitivity = 0;
    std::uint8_t byColorDetectSensitivity = 0;
    std::uint8_t byColorDetectMode = 0;
    std::uint8_t byHostIsNetwork = 0;
    std::uint8_t byTIFType = 0;
    u16le wPagesToScan; ///< 0: until the feeder is empty
    std::uint8_t reserved100[4] = {};
    u32le dwReserved[6];
};
static_assert(sizeof(ScanParam) == 128 && offsetof(ScanParam, window) == 20 &&
              offsetof(ScanParam, byChannelDropOut) == 51 &&
              offsetof(ScanParam, dwImageProcess) == 56 &&
              offsetof(ScanParam, byMiscOptions) == 67 &&
              offsetof(ScanParam, dwRealLineNum) == 72 &&
              offsetof(ScanParam, byBlankPageSensitivity) == 93 &&
              offsetof(ScanParam, wPagesToScan) == 98 && offsetof(ScanParam, dwReserved) == 104);

/// Entry of the stored-job list; zero-filled, texts terminated.
struct StoredJob {
    char szJobName[296] = {};
    char szPIN[16] = {}; ///< empty: released without one
    char szJobUUID[40] = {};
    u32le dwSetTime;            ///< seconds since the epoch at storing
    std::uint8_t byFlatbed = 0; ///< 1: scanned from the glass
    std::uint8_t reserved357[11] = {};
};
static_assert(sizeof(StoredJob) == 368 && offsetof(StoredJob, szPIN) == 296 &&
              offsetof(StoredJob, szJobUUID) == 312 && offsetof(StoredJob, dwSetTime) == 352 &&
              offsetof(StoredJob, byFlatbed) == 356);

/// The stored job that the operator has started at the panel.
struct StartedJob {
    u32le dwFlag; ///< 0 none, 1 started
    char szJobUUID[40] = {};
    std::uint8_t reserved44[20] = {};
};
static_assert(sizeof(StartedJob) == 64 && offsetof(StartedJob, szJobUUID) == 4);

/// Entry of the list of walk-up hosts, known by its UUID. Texts end with a zero byte unless they
/// fill their field.
struct PcListEntry {
    char szPCNameUTF8[256] = {};
    char szPCUUID[40] = {};
    char szPCPIN[88] = {};
    u32le dwLinkType; ///< 0 USB, 1 network
    u32le dwShortcutNum;
    char szShortcut[20][196] = {};
};
static_assert(sizeof(PcListEntry) == 4312 && offsetof(PcListEntry, szPCUUID) == 256 &&
              offsetof(PcListEntry, dwLinkType) == 384 && offsetof(PcListEntry, szShortcut) == 392);

} // namespace varn::wire
