/// The translation of scan settings. Its floor reads the two documents that it takes: the request
/// and the capabilities.

#include "bench/bare_binding.h"
#include "bench/device.h"
#include "bench/pairs.h"
#include "varn/varn.h"

#include <cstdlib>

namespace varn::bench {
namespace {

constexpr char capabilities_file[] = "/web/eSCL/ScannerCapabilities";

std::string request(std::string_view tone) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<scan:ScanSettings xmlns:scan=\"http://" VARN_SCHEMA_HOST_B
           "/imaging/escl/2011/05/03\" xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\">"
           "<pwg:InputSource>Feeder</pwg:InputSource>"
           "<scan:XResolution>300</scan:XResolution><scan:YResolution>300</scan:YResolution>"
           "<scan:ColorMode>RGB24</scan:ColorMode>"
           "<scan:DocumentFormatExt>image/jpeg</scan:DocumentFormatExt>"
           "<scan:Duplex>true</scan:Duplex>" +
           std::string(tone) + "</scan:ScanSettings>";
}

bool translate(std::string &xml) {
    varn_scan_param block = {};
    varn_gamma_str tone = {180, 1003, 1003, 1490, 94};
    varn_multipick multipick = {};
    char uuid[40] = "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";
    return eSCL_ParseScanParam(xml.data(), static_cast<uint32_t>(xml.size()), &block, &tone,
                               &multipick, uuid, 1) == 0;
}

bool read_documents(const std::string &xml) {
    Context of_settings(settings_any_namespace);
    Context of_capabilities(escl_get);
    scan__ScanSettingsType settings;
    scan__ScannerCapabilitiesType capabilities;
    size_t size = 0;
    char *text = read_file(place(capabilities_file).c_str(), size);
    const bool done = text != nullptr && of_settings.read(xml, settings) &&
                      of_capabilities.read({text, size}, capabilities);
    free(text);
    return done;
}

} // namespace

void add_settings() {
    static const struct {
        const char *name;
        const char *tone;
    } rows[] = {
        {"Settings translation", ""},
        {"Settings translation, with another tone", "<scan:Gamma>120</scan:Gamma>"},
    };
    eSCL_GetScanCapa2(nullptr, nullptr, 0);
    put("/tmp/escl_cap_OK", ""); // the capabilities are up to date
    for (const auto &row : rows) {
        const std::string xml = request(row.tone);
        add({row.name, [text = request(row.tone)]() mutable { return translate(text); },
             [xml] { return read_documents(xml); }});
    }
}

} // namespace varn::bench
