/// Usage: what the scanner has scanned, and what went wrong with its paper.

#include "frame/document.h"
#include "frame/nvram.h"
#include "platform/mvtc.h"
#include "varn/engine.h"
#include "varn/product_status.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace varn {
namespace {

constexpr char ticket[] = "/tmp/xml_tickets/DevMgmt/ProductUsageDyn.xml";

/// Flatbed pages of walk-up jobs, which the NVRAM count leaves out.
uint32_t walkup_flatbed_count() {
    constexpr size_t word_offset = 24;
    uint8_t block[64] = {};
    if (mvtc_read_H1_Bigdata(static_cast<uint32_t>(varn_mvt_fd), block) < 0)
        return 0;
    uint32_t count = 0;
    memcpy(&count, block + word_offset, sizeof count);
    return count;
}

/// The counters have a type each, all of one shape.
template <typename Counter>
Counter *counter(Document &document, uint32_t value) {
    auto *element = document.make<Counter>();
    if (element != nullptr)
        element->__item = document.text(std::to_string(value).c_str());
    return element;
}

pudyn__ScannerEngineSubunit *fill_scanner(Document &document, const NvramTable &table,
                                          uint32_t images) {
    auto *scanner = document.make<pudyn__ScannerEngineSubunit>();
    if (scanner == nullptr)
        return nullptr;
    scanner->dd__ScanImages = counter<dd__IntegerCounter>(document, images);
    scanner->dd__AdfImages = counter<dd__AdfImages>(document, table.scan_count);
    scanner->dd__FlatbedImages = counter<dd__FlatbedImages>(document, table.flatbed_count);
    scanner->dd__JamEvents = counter<dd__JamEvents>(document, table.jam_events);
    scanner->dd__MispickEvents = counter<dd__MispickEvents>(document, table.mispick_events);
    scanner->MultipickEvents = counter<dd__IntegerCounter>(document, table.multipick_events);
    scanner->SlowPickEvents = counter<dd__IntegerCounter>(document, table.slow_pick_events);
    return scanner;
}

} // namespace
} // namespace varn

int32_t VARN_GetProductUsageDyn(char **out_buf, uint32_t *out_len) {
    const uint32_t walkup_count = varn::walkup_flatbed_count();
    varn::NvramTable table = {};
    if (read_nvram(&table) != 0)
        table = {};
    // Not the number of the document: the two have different sources.
    printf("dd__ScanImages=%d\n", static_cast<int>(table.flatbed_count + table.scan_count));
    return varn::get_document<pudyn__ProductUsageDyn>(
        varn::product_get, varn::ticket, out_buf, out_len,
        [&](varn::Document &document, pudyn__ProductUsageDyn &root) {
            root.dd__Version = document.version("SVN-OLK-VARN.755", "2014-05-05");
            root.ScannerEngineSubunit =
                varn::fill_scanner(document, table, table.flatbed_count + walkup_count);
        });
}

int32_t VARN_GetProductUsageCap(char **out_buf, uint32_t *out_len) {
    static constexpr char path[] = "/tmp/xml_tickets/DevMgmt/ProductUsageCap.xml";
    return varn::get_static(__func__, path, path, out_buf, out_len);
}
