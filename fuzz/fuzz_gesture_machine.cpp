// Pointer event sequences of any shape into the gesture state machine: it must never
// crash, always keep a current state, and keep its store to the records six fingers
// can leave (a down and a move each, plus slack for stray actions).
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

#include "algo_state_manager.h"
#include "fuzz_values.h"

namespace {
using namespace Tarvo::Quil;
namespace Fuzz = Tarvo::Fuzz;

class NullCallback : public IMotionAlgo::Callback {
public:
    int OnMotionChanged(const MotionData& /*data*/) override { return 0; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const auto callback = std::make_shared<NullCallback>();
    AlgoStateManager machine;
    machine.RegisterCallback(callback);
    constexpr size_t kEventBytes = 6;
    for (size_t at = 0; at + kEventBytes <= size; at += kEventBytes) {
        const uint8_t* e = data + at;
        PointerEvent event;
        event.pointerAction = (e[0] % 8 == 7) ? e[0] : 2 + e[0] % 3;  // mostly valid codes
        event.pointerId = e[1] % 6;
        event.x = Fuzz::Coordinate(e[2], e[3]);
        event.y = Fuzz::Coordinate(e[3], e[2]);
        for (int id = 0; id < e[4] % 6; ++id) {
            event.pointerIds.push_back((e[5] >> id) & 1 ? id : (id + e[5]) % 6);
        }
        machine.TransformState(machine.EnableHandle(event));
        if (machine.GetCurrentState() == nullptr ||
            machine.GetCurrentState()->Out().pointerEvents.size() > 16) {
            std::abort();
        }
    }
    return 0;
}
