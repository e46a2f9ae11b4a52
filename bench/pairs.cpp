#include "bench/pairs.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <vector>

namespace varn::bench {
namespace {

std::vector<Pair> &pairs() {
    static std::vector<Pair> all;
    return all;
}

std::string side_name(const Pair &pair, const char *side) { return pair.name + " | " + side; }

void measure(benchmark::State &state, const Work &work) {
    for (auto _ : state)
        if (!work()) {
            state.SkipWithError("the work failed");
            return;
        }
}

double median(std::vector<double> values) {
    if (values.empty())
        return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Collects the repetitions of every measurement; the table is made at the end.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override { return true; }

    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const std::string name = run.run_name.function_name;
            if (run.error_occurred) {
                failed_.insert(name + ": " + run.error_message);
                continue;
            }
            const auto iterations = static_cast<double>(run.iterations);
            cpu_us_[name].push_back(run.cpu_accumulated_time * 1e6 / iterations);
            wall_us_[name].push_back(run.real_accumulated_time * 1e6 / iterations);
        }
    }

    bool print(FILE *out) const {
        size_t rows = 0;
        fprintf(out, "%-44s %10s %10s %7s %7s  %s\n", "Microseconds, medians of one run", "ours",
                "floor", "ratio", "target", "");
        for (const Pair &pair : pairs())
            rows += print_row(out, pair) ? 1 : 0;
        for (const std::string &failure : failed_)
            fprintf(out, "%s\n", failure.c_str());
        if (rows == 0)
            fprintf(out, "nothing was measured\n");
        fflush(out);
        return rows > 0 && failed_.empty();
    }

private:
    double time_of(const Pair &pair, const char *side) const {
        const auto &times = pair.waits ? wall_us_ : cpu_us_;
        const auto at = times.find(side_name(pair, side));
        return at == times.end() ? 0 : median(at->second) / pair.items;
    }

    bool print_row(FILE *out, const Pair &pair) const {
        const double ours = time_of(pair, "ours");
        const double floor = time_of(pair, "floor");
        if (ours <= 0 || floor <= 0)
            return false;
        const double ratio = ours / floor;
        fprintf(out, "%-44s %10.1f %10.1f %7.2f", pair.name.c_str(), ours, floor, ratio);
        if (pair.target > 0)
            fprintf(out, " %7.2f  %s", pair.target, ratio <= pair.target ? "met" : "NOT MET");
        fprintf(out, "\n");
        return true;
    }

    std::map<std::string, std::vector<double>> cpu_us_, wall_us_;
    std::set<std::string> failed_;
};

void register_side(const Pair &pair, const char *side, const Work &work) {
    auto *registered = benchmark::RegisterBenchmark(
        side_name(pair, side).c_str(), [&work](benchmark::State &state) { measure(state, work); });
    if (pair.waits)
        registered->UseRealTime()->Iterations(1)->Repetitions(3);
}

} // namespace

void add(Pair pair) { pairs().push_back(std::move(pair)); }

bool run(const char *filter, FILE *out) {
    // The sides of a pair are measured in turns, so that what else the machine does meets both.
    std::vector<std::string> words = {"library_bench", "--benchmark_repetitions=15",
                                      "--benchmark_enable_random_interleaving=true",
                                      "--benchmark_min_time=0.02"};
    if (filter != nullptr)
        words.push_back(std::string("--benchmark_filter=") + filter);
    std::vector<char *> argv;
    for (std::string &word : words)
        argv.push_back(word.data());
    auto argc = static_cast<int>(argv.size());
    benchmark::Initialize(&argc, argv.data());
    for (const Pair &pair : pairs()) {
        register_side(pair, "ours", pair.ours);
        register_side(pair, "floor", pair.floor);
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    return collector.print(out);
}

} // namespace varn::bench
