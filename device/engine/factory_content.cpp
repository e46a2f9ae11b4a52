#include "device/engine/factory_content.h"

#include "device/engine/storage.h"
#include "device/engine/time_zones.h"
#include "device/wire/profile.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace varn::engine {
namespace {

/// Gamma 1.8, brightness, contrast, highlight, shadow.
constexpr wire::u16le tone_settings[5] = {180, 1003, 1003, 1490, 94};

wire::ScanParam scan_param() {
    wire::ScanParam param;
    param.dwADF = 6;
    param.byInDataType = 3;
    param.byOutDataType = 3;
    param.byInPixelBits = 24;
    param.byOutPixelBits = 24;
    param.dwWidthPixels = 2550;
    param.dwWidthBytes = 7650;
    param.wXresolution = 300;
    param.wYresolution = 300;
    param.window = {0, 0, 2550, 3510};
    param.dwPaperWidth = 2550;
    param.dwPaperHeight = 3510;
    param.wXScaleRatio = 100;
    param.wYScaleRatio = 100;
    param.byCompression = 5;
    param.wImageOutputMode = 11;
    param.byHalftoneThreshold = 128;
    param.dwRealLineNum = 3510;
    return param;
}

wire::SendUsbBlock send_usb_block() {
    wire::SendUsbBlock block;
    block.byEnabled = 1;
    return block;
}

wire::WebBlock web_block() {
    wire::WebBlock block;
    block.byEnableSharePoint = 1;
    block.byEnableESCL = 1;
    return block;
}

/// Default job of a sending service: a PDF in colour.
wire::Profile profile(std::uint16_t exposure, std::uint16_t contrast) {
    wire::Profile profile;
    std::strcpy(profile.szFileName, "scan");
    profile.byColor = 2;
    profile.byFileType = 1;
    profile.byFileSize = 6;
    profile.wResolution = 300;
    profile.byMedia = 1;
    profile.wExposure = exposure;
    profile.wContrast = contrast;
    return profile;
}

void set_source(wire::SyncSource &source) {
    constexpr std::uint16_t sntp_port = 123;
    source.dwPort = sntp_port;
    source.interval = {24, wire::sync_hours};
}

/// Universal time, and no network time until somebody wants it.
wire::TimeBlock time_block() {
    constexpr char server[] = "time.example.net";
    constexpr std::uint8_t universal = 1;
    wire::TimeBlock block;
    block.dwZoneCount = time_zones.size();
    for (std::size_t i = 0; i < time_zones.size(); ++i) {
        wire::TimeZoneRecord &record = block.zones[i];
        record.offsetMinutes = time_zones[i].minutes;
        record.dwDst = time_zones[i].dst.exists() ? 1 : 0;
        record.dstOffsetMinutes = time_zones[i].dst.exists() ? 60 : 0;
        record.dstStart = time_zones[i].dst.start;
        record.dstEnd = time_zones[i].dst.end;
    }
    set_source(block.source);
    set_source(block.defaultSource);
    std::strcpy(block.szServer, server);
    std::strcpy(block.szDefaultServer, server);
    block.currentZone.byCode = universal;
    return block;
}

template <typename Record>
Bytes copy_of(const Record &record) {
    const auto bytes = bytes_of(record);
    return {bytes.begin(), bytes.end()};
}

struct Content {
    std::string_view name;
    Bytes (*make)();
};
constexpr Content contents[] = {
    {gamma_record.name, [] { return copy_of(tone_settings); }},
    {scan_param_record.name, [] { return copy_of(scan_param()); }},
    {"parameter-2", [] { return copy_of(time_block()); }},
    {"parameter-3", [] { return copy_of(send_usb_block()); }},
    {"parameter-4", [] { return copy_of(web_block()); }},
    {"profile-1", [] { return copy_of(profile(1003, 1003)); }}, // in the engine's own units
    {"profile-4", [] { return copy_of(profile(5, 5)); }},       // in levels, 1 to 9
};

} // namespace

Bytes factory_content(const std::string &name, std::size_t size) {
    const Content *found = std::ranges::find(contents, name, &Content::name);
    Bytes content = found == std::end(contents) ? Bytes() : found->make();
    content.resize(size);
    return content;
}

} // namespace varn::engine
