// Whole paths: a touch gesture through the state machine, a sample through the sensor
// connection's dispatch, and a sample through the platform, the sensor worker and a
// recogniser (the replay host's per-record cost).
#include <benchmark/benchmark.h>

#include "algo_flip.h"
#include "algo_state_manager.h"
#include "host_platform.h"
#include "motion_type.h"
#include "sensor_connection.h"

namespace {

using namespace Tarvo::Quil;

class NullCallback : public IMotionAlgo::Callback {
public:
    int OnMotionChanged(const MotionData& /*data*/) override { return 0; }
};

void Feed(AlgoStateManager& machine, const PointerEvent& event)
{
    machine.TransformState(machine.EnableHandle(event));
}

// Per event of a swipe from the left edge: down, 20 moves, up.
void BM_SwipeThroughStateMachine(benchmark::State& state)
{
    Tarvo::Host::HostPlatform::SetLogLevel(8);
    AlgoStateManager machine;
    machine.RegisterCallback(std::make_shared<NullCallback>());
    for (auto _ : state) {
        Feed(machine, PointerEvent{0, POINTER_ACTION_DOWN, 20, 1200, {0}});
        for (int step = 1; step <= 20; ++step) {
            Feed(machine, PointerEvent{0, POINTER_ACTION_MOVE, 20 + 20 * step, 1200, {0}});
        }
        Feed(machine, PointerEvent{0, POINTER_ACTION_UP, 420, 1200, {0}});
    }
    state.SetItemsProcessed(state.iterations() * 22);
}
BENCHMARK(BM_SwipeThroughStateMachine);

// Per event of a three-finger slide: three downs, 3 x 15 moves, three ups.
void BM_SlideThroughStateMachine(benchmark::State& state)
{
    Tarvo::Host::HostPlatform::SetLogLevel(8);
    AlgoStateManager machine;
    machine.RegisterCallback(std::make_shared<NullCallback>());
    for (auto _ : state) {
        Feed(machine, PointerEvent{0, POINTER_ACTION_DOWN, 400, 1500, {0}});
        Feed(machine, PointerEvent{1, POINTER_ACTION_DOWN, 600, 1500, {0, 1}});
        Feed(machine, PointerEvent{2, POINTER_ACTION_DOWN, 800, 1500, {0, 1, 2}});
        for (int step = 1; step <= 15; ++step) {
            for (int id = 0; id < 3; ++id) {
                Feed(machine,
                     PointerEvent{
                         id, POINTER_ACTION_MOVE, 400 + 200 * id, 1500 - 40 * step, {0, 1, 2}});
            }
        }
        Feed(machine, PointerEvent{2, POINTER_ACTION_UP, 800, 900, {0, 1, 2}});
        Feed(machine, PointerEvent{1, POINTER_ACTION_UP, 600, 900, {0, 1}});
        Feed(machine, PointerEvent{0, POINTER_ACTION_UP, 400, 900, {0}});
    }
    state.SetItemsProcessed(state.iterations() * 51);
}
BENCHMARK(BM_SlideThroughStateMachine);

// Per sample: the sensor connection's dispatch to one bound recogniser (flip), without
// the threads; against the bare flip step this is the cost of the binding and its lock.
void BM_SensorDispatchToFlip(benchmark::State& state)
{
    Tarvo::Host::HostPlatform::SetLogLevel(8);
    auto flip = std::make_shared<AlgoFlip>();
    flip->RegisterCallback(MOTION_TYPE_FLIP, std::make_shared<NullCallback>());
    float poses[2][4] = {{0.1F, 0.2F, 9.8F, 0.0F}, {6.9F, 0.2F, 6.9F, 0.0F}};
    size_t i = 0;
    for (auto _ : state) {
        SensorConnection::GetInstance().NotifyCallback(1, poses[i++ & 1]);
    }
    flip->UnregisterCallback(MOTION_TYPE_FLIP);
}
BENCHMARK(BM_SensorDispatchToFlip);

// Per sample: injected into the sensor service, delivered on its thread, queued,
// handled by flip on the sensor worker, and waited for.
void BM_SampleRoundTripThroughWorkers(benchmark::State& state)
{
    using Tarvo::Host::HostPlatform;
    HostPlatform::Reset();
    auto flip = std::make_shared<AlgoFlip>();
    flip->RegisterCallback(MOTION_TYPE_FLIP, std::make_shared<NullCallback>());
    SensorConnection::GetInstance().RegisterSensor(MOTION_TYPE_FLIP, 1);
    for (auto _ : state) {
        HostPlatform::InjectSample(1, {0.1F, 0.2F, 9.8F});
        HostPlatform::WaitIdle();
    }
    SensorConnection::GetInstance().UnregisterSensor(MOTION_TYPE_FLIP, 1);
    flip->UnregisterCallback(MOTION_TYPE_FLIP);
}
BENCHMARK(BM_SampleRoundTripThroughWorkers)->UseRealTime();

}  // namespace
