// The floor for replay throughput: a bare queue (mutex + deque + semaphore) moving one
// hour of 100 Hz accelerometer samples from one thread to another. scripts/bench-replay.sh
// runs it beside quil-replay on the same number of samples.
#include <benchmark/benchmark.h>
#include <semaphore.h>

#include <array>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>

namespace {

constexpr int64_t kHourOfSamples = 360000;

struct Sample {
    int32_t sensorTypeId;
    std::array<float, 4> values;
};

void BM_BareQueueFloor(benchmark::State& state)
{
    for (auto _ : state) {
        std::mutex mutex;
        std::deque<Sample> queue;
        sem_t sem;
        sem_init(&sem, 0, 0);
        float sink = 0.0F;
        std::thread consumer([&] {
            for (int64_t i = 0; i < kHourOfSamples; ++i) {
                sem_wait(&sem);
                std::lock_guard<std::mutex> lock(mutex);
                sink += queue.front().values[2];
                queue.pop_front();
            }
        });
        for (int64_t i = 0; i < kHourOfSamples; ++i) {
            {
                std::lock_guard<std::mutex> lock(mutex);
                queue.push_back(Sample{1, {0.1F, 0.2F, 9.8F, 0.0F}});
            }
            sem_post(&sem);
        }
        consumer.join();
        sem_destroy(&sem);
        benchmark::DoNotOptimize(sink);
    }
    state.SetItemsProcessed(state.iterations() * kHourOfSamples);
}
BENCHMARK(BM_BareQueueFloor)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
