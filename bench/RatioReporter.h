#ifndef ORVEX_BENCH_RATIOREPORTER_H
#define ORVEX_BENCH_RATIOREPORTER_H

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <tuple>
#include <vector>

// Console output as usual, then one table per case: each implementation's time (the fastest of
// its repetitions, the one least disturbed by whatever else the machine runs) and its ratio to
// the library's. Benchmarks are named "<case>/<implementation>/<size>"; the library's
// implementation is "orvex". Rows go to stdout as markdown so scripts/bench.sh can collect them.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Aggregate)
                record(run);
        }
    }

    void Finalize() override
    {
        ConsoleReporter::Finalize();
        std::printf("\n| case | size | implementation | time per op | orvex time / this time |\n"
                    "|---|---|---|---|---|\n");
        for (const auto &[key, times] : results) {
            const auto orvex = times.find("orvex");
            for (const auto &[implementation, nanoseconds] : times) {
                std::printf("| %s | %s | %s | %s |", std::get<0>(key).c_str(),
                            std::get<2>(key).c_str(), implementation.c_str(),
                            human(nanoseconds).c_str());
                if (orvex != times.end() && nanoseconds > 0)
                    std::printf(" %.2fx |\n", orvex->second / nanoseconds);
                else
                    std::printf(" |\n");
            }
        }
        std::fflush(stdout);
    }

private:
    void record(const Run &run)
    {
        const std::string name = run.run_name.function_name;
        const auto first = name.find('/');
        const auto second = name.find('/', first + 1);
        if (first == std::string::npos)
            return;
        const std::string caseName = name.substr(0, first);
        const std::string implementation = name.substr(first + 1, second - first - 1);
        const std::string size = !run.run_name.args.empty() ? run.run_name.args
                : second != std::string::npos               ? name.substr(second + 1)
                                                            : std::string("-");
        const double nanoseconds =
                run.GetAdjustedRealTime() * multiplierToNanoseconds(run.time_unit);
        auto &times = results[{caseName, std::strtod(size.c_str(), nullptr), size}];
        const auto found = times.find(implementation);
        if (found == times.end() || nanoseconds < found->second)
            times[implementation] = nanoseconds;
    }

    static double multiplierToNanoseconds(benchmark::TimeUnit unit)
    {
        switch (unit) {
        case benchmark::kSecond:
            return 1e9;
        case benchmark::kMillisecond:
            return 1e6;
        case benchmark::kMicrosecond:
            return 1e3;
        default:
            return 1;
        }
    }

    static std::string human(double nanoseconds)
    {
        char text[32];
        if (nanoseconds >= 1e6)
            std::snprintf(text, sizeof text, "%.3f ms", nanoseconds / 1e6);
        else if (nanoseconds >= 1e3)
            std::snprintf(text, sizeof text, "%.2f us", nanoseconds / 1e3);
        else
            std::snprintf(text, sizeof text, "%.0f ns", nanoseconds);
        return text;
    }

    // Keyed by case, then size in numeric order (the text is kept for printing).
    std::map<std::tuple<std::string, double, std::string>, std::map<std::string, double>> results;
};

// A main() that runs every registered benchmark through the RatioReporter.
#define ORVEX_BENCHMARK_MAIN()                    \
  int main(int argc, char **argv)                 \
  {                                               \
    benchmark::Initialize(&argc, argv);           \
    RatioReporter reporter;                       \
    benchmark::RunSpecifiedBenchmarks(&reporter); \
    benchmark::Shutdown();                        \
    return 0;                                     \
  }

#endif // ORVEX_BENCH_RATIOREPORTER_H
