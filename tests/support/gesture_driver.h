// Drives the gesture state machine directly, one pointer event at a time.
#pragma once

#include <memory>
#include <vector>

#include "algo_state_manager.h"
#include "host_platform.h"
#include "recording_callback.h"

namespace Tarvo::Quil::Test {

class GestureDriver {
public:
    GestureDriver()
    {
        Host::HostPlatform::Reset();
        manager_.RegisterCallback(callback_);
        // The report record is process-wide: start every test from a clean one.
        ResetReport();
    }

    States Down(int32_t id, int32_t x, int32_t y, std::vector<int32_t> ids)
    {
        return Feed(PointerEvent{id, POINTER_ACTION_DOWN, x, y, std::move(ids)});
    }
    States Move(int32_t id, int32_t x, int32_t y, std::vector<int32_t> ids)
    {
        return Feed(PointerEvent{id, POINTER_ACTION_MOVE, x, y, std::move(ids)});
    }
    States Up(int32_t id, int32_t x, int32_t y, std::vector<int32_t> ids)
    {
        return Feed(PointerEvent{id, POINTER_ACTION_UP, x, y, std::move(ids)});
    }
    States Feed(const PointerEvent& event)
    {
        manager_.TransformState(manager_.EnableHandle(event));
        return State();
    }

    States State() const { return manager_.GetCurrentState()->GetCurrentState(); }
    PointerData Data() const { return manager_.GetCurrentState()->Out(); }
    size_t StoreSize() const { return Data().pointerEvents.size(); }
    std::vector<MotionData> Reports() const { return callback_->Reports(); }
    static const MotionData& Report() { return AlgoGestureState::GetReportInfo(); }
    AlgoStateManager& Manager() { return manager_; }

private:
    struct Resetter : AlgoGestureState {};
    static void ResetReport() { Resetter().ResetReportInfo(); }

    std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
    AlgoStateManager manager_;
};

}  // namespace Tarvo::Quil::Test
