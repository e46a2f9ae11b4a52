/// What the engine acts on in a record of the profile store and in the parameter blocks; the rest
/// belongs to the library.
#pragma once

#include "device/wire/endian.h"

namespace varn::wire {

/// One profile: a service's default job, or a slot of the job table.
struct Profile {
    std::uint8_t reserved0[4] = {};
    u32le dwType; ///< of a slot: 0 free, 7 SharePoint job
    std::uint8_t reserved8[688] = {};
    char szFileName[260] = {};
    std::uint8_t byColor = 0;    ///< 0 monochrome, 1 grey, 2 colour, 3 automatic
    std::uint8_t byFileType = 0; ///< 0 JPEG, 1 PDF, 2 TIFF
    std::uint8_t byFileSize = 0; ///< 3 large, 6 standard, 8 small
    std::uint8_t reserved959 = 0;
    u16le wResolution;        ///< dots per inch
    std::uint8_t byMedia = 0; ///< 0 A4, 1 letter, 2 legal, 25 any
    std::uint8_t reserved963[23] = {};
    u16le wExposure;
    u16le wContrast;
    std::uint8_t reserved990[4994] = {};
};
inline constexpr std::uint32_t profile_free = 0;
static_assert(sizeof(Profile) == 5984 && offsetof(Profile, dwType) == 4 &&
              offsetof(Profile, szFileName) == 696 && offsetof(Profile, byColor) == 956 &&
              offsetof(Profile, wResolution) == 960 && offsetof(Profile, byMedia) == 962 &&
              offsetof(Profile, wExposure) == 986 && offsetof(Profile, wContrast) == 988);

/// Parameter block 3.
struct SendUsbBlock {
    std::uint8_t reserved0[1684] = {};
    std::uint8_t byEnabled = 0;
    std::uint8_t reserved1685[35] = {};
};
static_assert(sizeof(SendUsbBlock) == 1720 && offsetof(SendUsbBlock, byEnabled) == 1684);

/// Parameter block 4.
struct WebBlock {
    std::uint8_t reserved0[17] = {};
    std::uint8_t byEnableSharePoint = 0;
    std::uint8_t reserved18[9] = {};
    std::uint8_t byEnableESCL = 0;
    std::uint8_t reserved28[184] = {};
};
static_assert(sizeof(WebBlock) == 212 && offsetof(WebBlock, byEnableSharePoint) == 17 &&
              offsetof(WebBlock, byEnableESCL) == 27);

/// The word that tells what a connection test came to.
enum TestResult : std::int32_t {
    test_succeeded = 0,
    test_never_ran = -1,
    test_server_not_found = 304,
    test_no_such_folder = 305,
    test_wrong_credentials = 306,
    test_running = 1, ///< any other word means this
};

} // namespace varn::wire
