// What quil-replay's own thread spends reading a trace: the parser on an hour of 100 Hz
// accelerometer lines like scripts/make-hour-trace.py writes, from a file, record by
// record as a replay reads it.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "trace_parser.h"

namespace {

constexpr int64_t kHourOfSamples = 360000;

void BM_TraceParseHour(benchmark::State& state)
{
    std::FILE* file = std::tmpfile();
    std::fputs("# one hour at 100 Hz\nenable 3\nenable 0\nenable 4\nenable 6\n", file);
    for (int64_t i = 0; i < kHourOfSamples; ++i) {
        std::fprintf(file, "@%lld acc %.3f %.3f %.3f\n", static_cast<long long>(i * 10),
                     0.7 + 0.001 * static_cast<double>(i % 300), 3.4, 12.9);
    }
    for (auto _ : state) {
        std::rewind(file);
        Tarvo::Tools::TraceParser parser("hour.trace", file);
        Tarvo::Tools::TraceRecord record;
        std::string error;
        int64_t records = 0;
        while (parser.Next(record, error)) {
            ++records;
        }
        benchmark::DoNotOptimize(records);
    }
    std::fclose(file);
    state.SetItemsProcessed(state.iterations() * kHourOfSamples);
}
BENCHMARK(BM_TraceParseHour)->Unit(benchmark::kMillisecond);

}  // namespace
