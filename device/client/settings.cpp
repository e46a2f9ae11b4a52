#include "device/client/settings.h"

#include <cstdio>
#include <string_view>

namespace varn::client {
namespace {

struct Word {
    std::string_view option;
    std::string_view element;
};
constexpr Word sources[] = {{"feeder", "Feeder"}, {"duplex", "Feeder"}, {"flatbed", "Platen"}};
constexpr Word formats[] = {{"jpeg", "image/jpeg"},
                            {"pdf", "application/pdf"},
                            {"tiff", "image/tiff"},
                            {"raw", "application/octet-stream"}};
constexpr Word modes[] = {{"color", "RGB24"}, {"gray", "Grayscale8"}, {"bw", "BlackAndWhite1"}};

template <std::size_t N>
std::string_view element_word(const Word (&words)[N], std::string_view option) {
    for (const Word &word : words)
        if (word.option == option)
            return word.element;
    return {};
}

std::string escape(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

void add(std::string &xml, std::string_view name, std::string_view value) {
    xml.append("  <").append(name).append(">").append(value);
    xml.append("</").append(name).append(">\n");
}

void add(std::string &xml, std::string_view name, unsigned value) {
    add(xml, name, std::to_string(value));
}

void add_window(std::string &xml, const Window &window) {
    xml += "  <pwg:ScanRegions pwg:MustHonor=\"true\"><pwg:ScanRegion>\n";
    add(xml, "pwg:Height", window.height);
    add(xml, "pwg:ContentRegionUnits", "escl:ThreeHundredthsOfInches");
    add(xml, "pwg:Width", window.width);
    add(xml, "pwg:XOffset", window.x);
    add(xml, "pwg:YOffset", window.y);
    xml += "  </pwg:ScanRegion></pwg:ScanRegions>\n";
}

} // namespace

std::string check_settings(const ScanSettings &settings) {
    if (element_word(sources, settings.source).empty())
        return "no such source: " + settings.source + " (feeder, duplex, flatbed)";
    if (element_word(modes, settings.mode).empty())
        return "no such mode: " + settings.mode + " (color, gray, bw)";
    return {};
}

std::string settings_document(const ScanSettings &settings) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<scan:ScanSettings xmlns:scan=\"http://" VARN_SCHEMA_HOST_B "/imaging/escl/2011/05/03\""
        " xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\">\n";
    add(xml, "pwg:Version", "2.1");
    add(xml, "scan:Intent", "Document");
    if (settings.window)
        add_window(xml, *settings.window);
    const std::string_view known = element_word(formats, settings.format);
    const std::string format = known.empty() ? escape(settings.format) : std::string(known);
    add(xml, "pwg:DocumentFormat", format);
    add(xml, "scan:DocumentFormatExt", format);
    add(xml, "pwg:InputSource", element_word(sources, settings.source));
    add(xml, "scan:XResolution", settings.resolution);
    add(xml, "scan:YResolution", settings.resolution);
    add(xml, "scan:ColorMode", element_word(modes, settings.mode));
    if (settings.source != "flatbed")
        add(xml, "scan:Duplex", settings.source == "duplex" ? "true" : "false");
    if (settings.page_count)
        add(xml, "scan:NumberOfPages", *settings.page_count);
    for (const ScanSettings::Extra &extra : settings.extras)
        add(xml, extra.element, escape(extra.value));
    xml += "</scan:ScanSettings>\n";
    return xml;
}

std::optional<Window> parse_window(const std::string &text) {
    Window window;
    int used = 0;
    const int found = std::sscanf(text.c_str(), "%u,%u,%u,%u%n", &window.x, &window.y,
                                  &window.width, &window.height, &used);
    if (found != 4 || static_cast<std::size_t>(used) != text.size())
        return std::nullopt;
    return window;
}

} // namespace varn::client
