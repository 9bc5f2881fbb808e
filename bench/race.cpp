#include "bench/race.h"

#include <algorithm>
#include <map>

namespace bench {

namespace {

// Keeps the time of each repetition, in seconds a call.
class Collector : public benchmark::BenchmarkReporter {
public:
    std::map<std::string, std::vector<double>> times;

    bool ReportContext(const Context&) override { return true; }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration) continue;
            times[run.run_name.function_name].push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
        }
    }
};

Timing summary(std::vector<double> seconds) {
    std::sort(seconds.begin(), seconds.end());
    const std::size_t n = seconds.size();
    return {1e9 * seconds.front(), 1e9 * seconds[n / 2], 1e9 * seconds[n - 1 - n / 4]};
}

} // namespace

void prepare_races() {
    char program[] = "bench", order[] = "--benchmark_enable_random_interleaving=true";
    char* arguments[] = {program, order, nullptr};
    int count = 2;
    benchmark::Initialize(&count, arguments);
}

std::vector<Timing> race(const std::vector<Contestant>& contestants, const Effort& effort) {
    for (const Contestant& contestant : contestants) {
        benchmark::RegisterBenchmark(contestant.name.c_str(), contestant.body)
            ->Repetitions(effort.repetitions)
            ->MinTime(effort.seconds);
    }
    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector, "all");
    benchmark::ClearRegisteredBenchmarks();
    std::vector<Timing> timings;
    for (const Contestant& contestant : contestants) timings.push_back(summary(collector.times.at(contestant.name)));
    return timings;
}

} // namespace bench
