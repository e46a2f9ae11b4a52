/// varn-scan: scans with a scanner on the network and leaves the images in a directory.

#include "device/client/scan_session.h"
#include "device/client/settings.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <curl/curl.h>
#include <fstream>
#include <getopt.h>
#include <libxml/parser.h>
#include <optional>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace {

using namespace varn::client;

constexpr char usage[] =
    "usage: varn-scan [--url URL] [--out DIR] [SETTINGS]\n"
    "\n"
    "Posts a scan job, saves every image as DIR/page-001.jpg and so on, and prints each state of\n"
    "the job that it sees.\n"
    "\n"
    "  --url URL        scanner (default http://127.0.0.1:8080)\n"
    "  --out DIR        made when it is not there (default out)\n"
    "  --source S       feeder (default), duplex, flatbed\n"
    "  --mode M         color (default), gray, bw\n"
    "  --resolution N   dots per inch (default 300)\n"
    "  --format F       jpeg (default), pdf, tiff, raw, or a media type. PDF is one document, raw\n"
    "                   are lines of RGB, grey, or eight points a byte\n"
    "  --page-count N   no more images than that\n"
    "  --window X,Y,WIDTH,HEIGHT\n"
    "                   part of the page, three-hundredths of an inch\n"
    "  --gamma N        hundredths: 180 is 1.8\n"
    "  --brightness N, --contrast N, --highlight N, --shadow N\n"
    "                   in the units of the scanner's capabilities\n"
    "  --threshold N    black or white, for bw\n"
    "  --compression N  from least to most\n"
    "  --crop           to the edges of the paper\n"
    "  --exposure       automatic\n"
    "  --blank-detection, --blank-removal\n"
    "  --blank-sensitivity N\n"
    "  --multipick      stop when two sheets come at a time\n"
    "  --insecure       take any certificate of an https scanner; that of a scanner on this "
    "machine\n"
    "                   is taken without it\n"
    "  --settings FILE  this scan:ScanSettings document, whatever the options above say\n"
    "  --print-settings print the document and do not scan\n";

/// Options that become an element of the settings as they are.
struct Element {
    const char *option;
    const char *element;
    const char *fixed; ///< value of an option that has none of its own
};
constexpr Element elements[] = {
    {"gamma", "scan:Gamma", nullptr},
    {"brightness", "scan:Brightness", nullptr},
    {"contrast", "scan:Contrast", nullptr},
    {"highlight", "scan:Highlight", nullptr},
    {"shadow", "scan:Shadow", nullptr},
    {"threshold", "scan:Threshold", nullptr},
    {"compression", "scan:CompressionFactor", nullptr},
    {"crop", "scan:AutoCrop", "true"},
    {"exposure", "scan:AutoExposure", "true"},
    {"blank-detection", "scan:BlankPageDetection", "true"},
    {"blank-removal", "scan:BlankPageDetectionAndRemoval", "true"},
    {"blank-sensitivity", "scan:BlankPageSensitivity", nullptr},
    {"multipick", "scan:MultipickDetection", "true"},
};

struct Options {
    SessionOptions session{"http://127.0.0.1:8080", "out", isatty(STDOUT_FILENO) != 0, false};
    ScanSettings settings;
    std::string settings_file;
    bool print_settings = false;
};

std::optional<unsigned> number(const char *text) {
    unsigned value = 0;
    const char *end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, value);
    if (error != std::errc() || rest != end)
        return std::nullopt;
    return value;
}

/// Empty, or what is wrong with the option's value.
std::string add_element(ScanSettings &settings, const Element &element) {
    if (!element.fixed && !number(optarg))
        return std::string(optarg) + ": not a value for --" + element.option;
    settings.extras.push_back({element.element, element.fixed ? element.fixed : optarg});
    return {};
}

/// None after a message on standard error.
std::optional<Options> parse_options(int argc, char **argv) {
    enum {
        url,
        out,
        source,
        mode,
        resolution,
        format,
        page_count,
        window,
        settings,
        print,
        insecure,
        help,
        first_element
    };
    std::vector<option> long_options = {
        {"url", required_argument, nullptr, url},
        {"out", required_argument, nullptr, out},
        {"source", required_argument, nullptr, source},
        {"mode", required_argument, nullptr, mode},
        {"resolution", required_argument, nullptr, resolution},
        {"format", required_argument, nullptr, format},
        {"page-count", required_argument, nullptr, page_count},
        {"window", required_argument, nullptr, window},
        {"settings", required_argument, nullptr, settings},
        {"print-settings", no_argument, nullptr, print},
        {"insecure", no_argument, nullptr, insecure},
        {"help", no_argument, nullptr, help},
    };
    for (int value = first_element; const Element &element : elements)
        long_options.push_back(
            {element.option, element.fixed ? no_argument : required_argument, nullptr, value++});
    long_options.push_back({nullptr, 0, nullptr, 0});
    Options options;
    std::string complaint;
    for (int c; complaint.empty() &&
                (c = getopt_long(argc, argv, "", long_options.data(), nullptr)) != -1;) {
        if (c >= first_element) {
            complaint = add_element(options.settings, elements[c - first_element]);
            continue;
        }
        switch (c) {
        case url:
            options.session.url = optarg;
            break;
        case out:
            options.session.out = optarg;
            break;
        case source:
            options.settings.source = optarg;
            break;
        case mode:
            options.settings.mode = optarg;
            break;
        case format:
            options.settings.format = optarg;
            break;
        case settings:
            options.settings_file = optarg;
            break;
        case insecure:
            options.session.insecure = true;
            break;
        case print:
            options.print_settings = true;
            break;
        case resolution:
            if (const auto value = number(optarg))
                options.settings.resolution = *value;
            else
                complaint = std::string(optarg) + ": not a resolution";
            break;
        case page_count:
            options.settings.page_count = number(optarg);
            if (!options.settings.page_count)
                complaint = std::string(optarg) + ": not a number of pages";
            break;
        case window:
            options.settings.window = parse_window(optarg);
            if (!options.settings.window)
                complaint = std::string(optarg) + ": not a window";
            break;
        case help:
            std::fputs(usage, stdout);
            std::exit(0);
        default:
            std::fputs(usage, stderr);
            return std::nullopt;
        }
    }
    if (complaint.empty() && optind != argc)
        complaint = std::string(argv[optind]) + ": unexpected";
    if (complaint.empty())
        complaint = check_settings(options.settings);
    if (!complaint.empty()) {
        std::fprintf(stderr, "varn-scan: %s\n", complaint.c_str());
        return std::nullopt;
    }
    while (options.session.url.ends_with('/'))
        options.session.url.pop_back();
    return options;
}

std::optional<std::string> read_settings(const Options &options) {
    if (options.settings_file.empty())
        return settings_document(options.settings);
    std::ifstream file(options.settings_file, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (!file) {
        std::fprintf(stderr, "varn-scan: cannot read %s\n", options.settings_file.c_str());
        return std::nullopt;
    }
    return text.str();
}

} // namespace

int main(int argc, char **argv) {
    const std::optional<Options> options = parse_options(argc, argv);
    if (!options)
        return 2;
    const std::optional<std::string> xml = read_settings(*options);
    if (!xml)
        return 2;
    if (options->print_settings) {
        std::fputs(xml->c_str(), stdout);
        return 0;
    }
    curl_global_init(CURL_GLOBAL_DEFAULT);
    xmlInitParser();
    const int code = scan(options->session, *xml);
    xmlCleanupParser();
    curl_global_cleanup();
    return code;
}
