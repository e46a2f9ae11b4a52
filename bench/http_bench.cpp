/// The scanner as its clients see it: requests per second, a page, memory. Everything is measured
/// in turns with what it is compared to, and the medians are compared.

#include "bench/http_load.h"
#include "bench/http_pages.h"
#include "tests/web/support/scanner_process.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

using namespace varn::bench;
using varn::testing::ScannerProcess;

constexpr unsigned repetitions = 5;
constexpr std::chrono::milliseconds load_time{300};
constexpr unsigned scans = 100; ///< before the memory is looked at again

struct Row {
    std::string name;
    double ours = 0;
    double reference = 0;
    const char *unit = "";
    double ratio = 0;
    double target = 0;
    bool at_least = false; ///< the target; else at most
    bool met() const { return at_least ? ratio >= target : ratio <= target; }
};

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A document and the static file that is given its content.
struct Resource {
    const char *name;
    const char *path;
    const char *static_path;
    const char *static_file;
};
constexpr Resource resources[] = {
    {"ScannerStatus", "/eSCL/ScannerStatus", "/DevMgmt/NetAppsCap.xml",
     "/tmp/xml_tickets/DevMgmt/NetAppsCap.xml"},
    {"ScannerCapabilities", "/eSCL/ScannerCapabilities", "/DevMgmt/ProductServiceCap.xml",
     "/tmp/xml_tickets/DevMgmt/ProductServiceCap.xml"},
};

void copy_to_static_file(const ScannerProcess &scanner, const Resource &resource) {
    const std::string document = fetch(scanner.port(), resource.path);
    std::ofstream(scanner.root().string() + resource.static_file) << document;
    if (fetch(scanner.port(), resource.static_path) != document)
        throw std::runtime_error(std::string(resource.static_path) + " is not the copy");
}

Row measure_load(const ScannerProcess &scanner, const Resource &resource, unsigned connections,
                 bool keep_alive) {
    Load load{scanner.port(), resource.path, connections, keep_alive, load_time};
    Load reference = load;
    reference.path = resource.static_path;
    std::vector<double> ours;
    std::vector<double> theirs;
    for (unsigned i = 0; i < repetitions; ++i) {
        ours.push_back(answers_per_second(load));
        theirs.push_back(answers_per_second(reference));
    }
    Row row;
    row.name = std::string(resource.name) + ", " + std::to_string(connections) +
               (connections == 1 ? " connection" : " connections") +
               (keep_alive ? "" : ", each request anew");
    row.ours = median(ours);
    row.reference = median(theirs);
    row.unit = "1/s";
    row.ratio = row.ours / row.reference;
    row.target = connections == 1 ? 1.0 / 3 : 2.0 / 3;
    row.at_least = true;
    return row;
}

std::string page_name(const std::string &mode) { return "A4 page 300 dpi, " + mode; }

void measure_page(const ScannerProcess &scanner, const std::string &mode, std::vector<Row> &rows) {
    const PlainPage plain(mode == "color");
    std::vector<double> first;
    std::vector<double> last;
    std::vector<double> coding;
    for (unsigned i = 0; i < 2 * repetitions; ++i) {
        std::string scanned;
        std::string coded;
        const PageTimes times = scan_page(scanner.port(), mode, scanned);
        first.push_back(times.first_byte_ms);
        last.push_back(times.last_byte_ms);
        coding.push_back(plain.code(coded));
        if (scanned != coded)
            throw std::runtime_error("the scanned page is not the one that is coded alone");
    }
    const std::string name = page_name(mode);
    for (const auto &[what, times] :
         {std::pair(", to last byte", last), {", to first byte", first}})
        rows.push_back({name + what, median(times), median(coding), "ms",
                        median(times) / median(coding), 1.1, false});
}

double resident_mb(pid_t pid) {
    return static_cast<double>(varn::testing::holdings_of(pid).resident_kib) / 1024;
}

Row memory_row(const std::string &name, double mb, double target_mb) {
    return {name, mb, target_mb, "MiB", mb / target_mb, 1, false};
}

/// The target is varnd's; the engine is shown beside it.
void add_memory(std::vector<Row> &rows, const ScannerProcess &scanner, const std::string &when) {
    constexpr double varnd_target_mb = 12;
    rows.push_back(
        memory_row("varnd resident, " + when, resident_mb(scanner.pid()), varnd_target_mb));
    std::printf("varn-engine resident, %s: %.1f MiB\n", when.c_str(),
                resident_mb(scanner.engine_pid()));
}

void print(const std::vector<Row> &rows) {
    std::printf("\n%-52s %10s %10s %-4s %7s %8s\n", "", "ours", "against", "", "ratio", "target");
    for (const Row &row : rows)
        std::printf("%-52s %10.1f %10.1f %-4s %7.2f %s%6.2f %s\n", row.name.c_str(), row.ours,
                    row.reference, row.unit, row.ratio, row.at_least ? ">=" : "<=", row.target,
                    row.met() ? "met" : "MISSED");
}

bool wanted(const std::string &name, const std::string &filter) {
    return name.find(filter) != std::string::npos;
}

void measure_loads(const ScannerProcess &scanner, const std::string &filter,
                   std::vector<Row> &rows) {
    for (const Resource &resource : resources) {
        if (!wanted(resource.name, filter))
            continue;
        copy_to_static_file(scanner, resource);
        for (const bool keep_alive : {true, false})
            for (const unsigned connections : {1U, 4U, 16U})
                rows.push_back(measure_load(scanner, resource, connections, keep_alive));
    }
}

void measure_memory(const ScannerProcess &scanner, std::vector<Row> &rows) {
    std::string image;
    for (unsigned i = 0; i < scans; ++i)
        scan_page(scanner.port(), i % 2 == 0 ? "color" : "gray", image);
    add_memory(rows, scanner, "after " + std::to_string(scans) + " scans");
}

void run(const std::string &filter) {
    setenv("TMPDIR", "/dev/shm", 1); // where the device tree goes
    ScannerProcess scanner;
    if (!scanner.ready())
        throw std::runtime_error("varnd does not start");
    if (!scanner.ctl({"glass", "put", "chart"}))
        throw std::runtime_error("no chart on the glass");
    std::vector<Row> rows;
    add_memory(rows, scanner, "at start");
    measure_loads(scanner, filter, rows);
    for (const char *mode : {"color", "gray"})
        if (wanted(page_name(mode), filter))
            measure_page(scanner, mode, rows);
    if (wanted("resident memory", filter))
        measure_memory(scanner, rows);
    print(rows);
}

} // namespace

int main(int argc, char **argv) {
    if (argc > 2 || (argc == 2 && argv[1][0] == '-')) {
        std::fputs("usage: http_bench [FILTER]\n"
                   "Measures what has FILTER in its name, or everything.\n",
                   stderr);
        return 2;
    }
    try {
        run(argc == 2 ? argv[1] : "");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "http_bench: %s\n", error.what());
        return 1;
    }
    return 0;
}
