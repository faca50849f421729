#include "Measure.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

void Report::line(const QString &name, double value, const QString &unit, double limit,
                  const QString &spread)
{
    const bool ok = value <= limit;
    over += ok ? 0 : 1;
    std::printf("%s %.3f %s %.2f %s%s%s\n", qUtf8Printable(name), value, qUtf8Printable(unit),
                limit, ok ? "ok" : "over", spread.isEmpty() ? "" : " # ", qUtf8Printable(spread));
    std::fflush(stdout);
}

double processorSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

double secondsOf(const std::function<void()> &work)
{
    const double start = processorSeconds();
    work();
    return processorSeconds() - start;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

Comparison compare(int runs, const Timed &subject, const Timed &floor)
{
    std::vector<double> subjects;
    std::vector<double> floors;
    std::vector<double> ratios;
    for (int run = 0; run < runs; ++run) {
        // Who goes first changes, so that neither always finds the other's warm caches.
        if (run % 2 == 0) {
            floors.push_back(floor());
        }
        subjects.push_back(subject());
        if (run % 2 == 1) {
            floors.push_back(floor());
        }
        ratios.push_back(subjects.back() / floors.back());
    }
    std::sort(ratios.begin(), ratios.end());
    const QString spread = QStringLiteral("%1..%2")
                               .arg(ratios[ratios.size() / 4], 0, 'f', 2)
                               .arg(ratios[ratios.size() - 1 - ratios.size() / 4], 0, 'f', 2);
    return { median(subjects), median(floors), median(ratios), spread };
}

namespace {

class MedianReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.aggregate_name == "median") {
                milliseconds = run.GetAdjustedRealTime();
            }
        }
    }

    double milliseconds = 0;
};

} // namespace

double shortMilliseconds(const Timed &work)
{
    benchmark::ClearRegisteredBenchmarks();
    benchmark::RegisterBenchmark("work",
                                 [&work](benchmark::State &state) {
                                     for (auto _ : state) {
                                         state.SetIterationTime(work());
                                     }
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(50)
        ->Repetitions(7);
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.milliseconds;
}

void coolCaches()
{
    static std::vector<char> other(std::size_t(64) << 20U);
    for (std::size_t i = 0; i < other.size(); i += 64) {
        ++other[i];
    }
    benchmark::ClobberMemory();
}

double growthExponent(const std::vector<double> &sizes, const std::vector<double> &seconds)
{
    double meanX = 0;
    double meanY = 0;
    const auto count = double(sizes.size());
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        meanX += std::log(sizes[i]) / count;
        meanY += std::log(seconds[i]) / count;
    }
    double covariance = 0;
    double variance = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const double x = std::log(sizes[i]) - meanX;
        covariance += x * (std::log(seconds[i]) - meanY);
        variance += x * x;
    }
    return covariance / variance;
}
