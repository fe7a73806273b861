// The sample path: what one sample costs in each recogniser, and what logging costs
// when it is off (it must cost next to nothing) and when it is on.
#include <benchmark/benchmark.h>

#include <array>
#include <memory>

#include "algo_flip.h"
#include "algo_near_ear.h"
#include "algo_pickup.h"
#include "algo_pocket.h"
#include "algo_rotate.h"
#include "algo_shake.h"
#include "host_platform.h"
#include "motion_log.h"

namespace {

using namespace Tarvo::Quil;
constexpr char kLogTag[] = "Bench";

void BM_EmptyLoop(benchmark::State& state)
{
    int value = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value += 1);
    }
}
BENCHMARK(BM_EmptyLoop);

void BM_DebugLineDisabled(benchmark::State& state)
{
    Tarvo::Host::HostPlatform::SetLogLevel(8);
    int value = 0;
    for (auto _ : state) {
        MLOGD("roll:%{public}lf,pitch:%{public}lf", 1.5, 2.5);
        benchmark::DoNotOptimize(value += 1);
    }
}
BENCHMARK(BM_DebugLineDisabled);

void BM_DebugLineEnabled(benchmark::State& state)
{
    Tarvo::Host::HostPlatform::SetLogSink([](const Tarvo::Host::LogLine&) {});
    Tarvo::Host::HostPlatform::SetLogLevel(3);
    int value = 0;
    for (auto _ : state) {
        MLOGD("roll:%{public}lf,pitch:%{public}lf", 1.5, 2.5);
        benchmark::DoNotOptimize(value += 1);
    }
    Tarvo::Host::HostPlatform::SetLogLevel(8);
    Tarvo::Host::HostPlatform::SetLogSink({});
}
BENCHMARK(BM_DebugLineEnabled);

// One accelerometer sample per iteration, alternating two poses so that the state
// machines keep working; the log is off, as on a device.
template <typename Algo>
void BM_RecogniserStep(benchmark::State& state)
{
    Tarvo::Host::HostPlatform::SetLogLevel(8);
    Algo algo;
    std::array<float, 4> poses[2] = {{0.1F, 0.2F, 9.8F, 0.0F}, {6.9F, 0.2F, 6.9F, 0.0F}};
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(algo.StartAlgorithm(1, poses[i++ & 1].data()));
    }
}
BENCHMARK_TEMPLATE(BM_RecogniserStep, AlgoShake);
BENCHMARK_TEMPLATE(BM_RecogniserStep, AlgoRotate);
BENCHMARK_TEMPLATE(BM_RecogniserStep, AlgoFlip);
BENCHMARK_TEMPLATE(BM_RecogniserStep, AlgoPickup);
BENCHMARK_TEMPLATE(BM_RecogniserStep, AlgoNearEar);
BENCHMARK_TEMPLATE(BM_RecogniserStep, AlgoPocket);

}  // namespace
