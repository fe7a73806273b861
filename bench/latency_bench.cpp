// Report latency: from the host platform's delivery of a sample (or touch event) to the
// host callback receiving the first report it causes, as p50 and p99 over 10,000
// deliveries, beside the floor of a one-way semaphore hand-off between two threads.
// Rounds of both alternate, so load on the machine moves both alike; read the ratios.
//
// Two ways of delivering: "inline:0" through the host services' own delivery threads,
// as a device's service thread hands events over; "inline:1" on the benchmark's thread
// (HostPlatform::SetInlineDelivery), as quil-replay plays. Each delivery comes after a
// pause long enough for every thread to be asleep, as the floor's post does and as
// real events, 10 ms apart at 100 Hz, do.
#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "host_platform.h"
#include "i_motion_algo.h"
#include "motion_type.h"

namespace {

using namespace Tarvo::Quil;
using Tarvo::Host::HostPlatform;

constexpr size_t kDeliveries = 10000;
constexpr size_t kRounds = 100;

int64_t NowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

std::atomic<int64_t> gDeliveredAt{0};
std::atomic<bool> gArmed{false};

void MarkDelivery()
{
    gDeliveredAt.store(NowNs(), std::memory_order_relaxed);
    gArmed.store(true, std::memory_order_release);
}

// Records the latency of the first report after each delivery.
class LatencyCallback : public IMotionAlgo::Callback {
public:
    explicit LatencyCallback(std::vector<int64_t>& latencies) : latencies_(latencies) {}
    int OnMotionChanged(const MotionData& /*data*/) override
    {
        const int64_t now = NowNs();
        if (gArmed.exchange(false, std::memory_order_acq_rel)) {
            latencies_.push_back(now - gDeliveredAt.load(std::memory_order_relaxed));
        }
        return 0;
    }

private:
    std::vector<int64_t>& latencies_;
};

// One thread posts, the other wakes: the time between the two, `count` times.
void SemaphoreFloor(size_t count, std::vector<int64_t>& latencies)
{
    sem_t go;
    sem_t back;
    sem_init(&go, 0, 0);
    sem_init(&back, 0, 0);
    std::atomic<int64_t> postedAt{0};
    std::thread peer([&] {
        for (size_t i = 0; i < count; ++i) {
            sem_wait(&go);
            latencies.push_back(NowNs() - postedAt.load(std::memory_order_relaxed));
            sem_post(&back);
        }
    });
    for (size_t i = 0; i < count; ++i) {
        // Let the peer fall asleep first, as the library's worker is between deliveries.
        std::this_thread::sleep_for(std::chrono::microseconds(20));
        postedAt.store(NowNs(), std::memory_order_relaxed);
        sem_post(&go);
        sem_wait(&back);
    }
    peer.join();
    sem_destroy(&go);
    sem_destroy(&back);
}

// Plays `inject(i)` for i = 0, 1, ... (each from idle) until `count` more reports were
// timed.
void PipelineLatency(size_t count, std::vector<int64_t>& latencies,
                     const std::function<void(size_t)>& inject)
{
    const size_t target = latencies.size() + count;
    for (size_t i = 0; latencies.size() < target; ++i) {
        // As in the floor: the worker is asleep when the event comes, not just going.
        std::this_thread::sleep_for(std::chrono::microseconds(20));
        inject(i);
        HostPlatform::WaitIdle();
        gArmed = false;
    }
    latencies.resize(target);  // a last delivery may have reported more
}

int64_t Percentile(std::vector<int64_t> values, double fraction)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, static_cast<size_t>(fraction * values.size()))];
}

void Measure(benchmark::State& state, const std::vector<int>& types,
             const std::function<void(size_t)>& inject)
{
    HostPlatform::Reset();
    HostPlatform::SetInlineDelivery(state.range(0) != 0);
    std::vector<int64_t> floor;
    std::vector<int64_t> path;
    floor.reserve(kDeliveries);
    path.reserve(kDeliveries + 4);
    IMotionAlgo* algo = Create();
    algo->RegisterCallback(std::make_shared<LatencyCallback>(path));
    for (int type : types) {
        algo->Enable(type);
    }
    HostPlatform::SetDeliveryHook(MarkDelivery);
    for (auto _ : state) {
        for (size_t round = 0; round < kRounds; ++round) {
            SemaphoreFloor(kDeliveries / kRounds, floor);
            PipelineLatency(kDeliveries / kRounds, path, inject);
        }
    }
    HostPlatform::SetDeliveryHook(nullptr);
    HostPlatform::SetInlineDelivery(false);
    for (int type : types) {
        algo->Disable(type);
    }
    Destroy(algo);
    HostPlatform::WaitIdle();

    const double floorP50 = Percentile(floor, 0.5) / 1e3;
    const double floorP99 = Percentile(floor, 0.99) / 1e3;
    const double pathP50 = Percentile(path, 0.5) / 1e3;
    const double pathP99 = Percentile(path, 0.99) / 1e3;
    state.counters["p50_us"] = pathP50;
    state.counters["p99_us"] = pathP99;
    state.counters["floor_p50_us"] = floorP50;
    state.counters["floor_p99_us"] = floorP99;
    state.counters["p50_ratio"] = pathP50 / floorP50;  // target <= 1.5
    state.counters["p99_ratio"] = pathP99 / floorP99;  // target <= 3
}

// Once through the services' delivery threads (inline:0), once on this thread (inline:1);
// one pass of 100 rounds each.
void BothDeliveryWays(benchmark::internal::Benchmark* bench)
{
    bench->ArgName("inline")->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);
    bench->UseRealTime();
}

// Four accelerometer poses that flip the device over and back; pick-up, rotation and
// shake run on every sample too.
void BM_SampleToReportLatency(benchmark::State& state)
{
    static const std::vector<float> kPoses[] = {
        {0.1F, 0.2F, 9.8F}, {6.9F, 0.2F, 6.9F}, {0.1F, 0.2F, 9.8F}, {0.1F, 0.2F, -9.8F}};
    Measure(state, {MOTION_TYPE_FLIP, MOTION_TYPE_PICKUP, MOTION_TYPE_ROTATE, MOTION_TYPE_SHAKE},
            [](size_t i) { HostPlatform::InjectSample(1, kPoses[i % 4]); });
}
BENCHMARK(BM_SampleToReportLatency)->Apply(BothDeliveryWays);

// A swipe in from the left edge, over and over: its start and its end are reported.
void BM_TouchToReportLatency(benchmark::State& state)
{
    struct Step {
        int32_t action;
        int32_t x;
    };
    static constexpr Step kSwipe[] = {{2, 30}, {3, 40}, {3, 160}, {4, 400}};
    Measure(state, {MOTION_TYPE_SWIPE_RIGHT}, [](size_t i) {
        const Step& step = kSwipe[i % 4];
        HostPlatform::InjectTouch(step.action, 0, step.x, 1500, {0});
    });
}
BENCHMARK(BM_TouchToReportLatency)->Apply(BothDeliveryWays);

}  // namespace
