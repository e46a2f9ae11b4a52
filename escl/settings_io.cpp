#include "escl/settings_io.h"

#include "escl/scan_words.h"
#include "frame/root.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

namespace varn {
namespace {

/// The request that scanparam_recv hands over.
const char *settings_text = nullptr;
size_t settings_length = 0;
size_t settings_position = 0;

} // namespace

std::string read_text_file(const char *path, int flags) {
    std::string text;
    const UniqueFd file(open(device_path(path).c_str(), flags | O_CLOEXEC, 0600));
    char part[16384];
    for (ssize_t n; file.ok() && (n = read(file.get(), part, sizeof part)) > 0;)
        text.append(part, static_cast<size_t>(n));
    return text;
}

int read_request(Document &document, const char *xml, uint32_t length,
                 scan__ScanSettingsType &settings) {
    settings_text = xml;
    settings_length = begins_like_xml({xml, length}) ? length : 0;
    settings_position = 0;
    document.read(scanparam_recv, settings);
    settings_text = nullptr;
    settings_length = 0;
    const int error = document.error();
    if (error != SOAP_OK)
        settings = scan__ScanSettingsType();
    return error;
}

void read_capabilities(Parsed<scan__ScannerCapabilitiesType> &capabilities, const char *path) {
    const int error = capabilities.read(read_text_file(path, O_RDWR | O_CREAT));
    printf("soap_read_scan__ScannerCapabilitiesType error=%d\n", error);
}

} // namespace varn

size_t scanparam_recv(struct soap *, char *dst, size_t n) {
    // The first read delivers the document. A second one that would pass its end finds nothing.
    const size_t count = std::min(n, varn::settings_length);
    if (varn::settings_text == nullptr || varn::settings_position + count > varn::settings_length)
        return 0;
    memcpy(dst, varn::settings_text + varn::settings_position, count);
    varn::settings_position += count;
    return count;
}
