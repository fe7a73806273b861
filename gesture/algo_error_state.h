// Where input that fits no gesture ends up; waits until the screen is clear or a lone
// finger 0 starts afresh.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoErrorState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;

private:
    // "Current state:STATE_ERROR" at `level`; the machine stays here.
    void LogStay(const char* op, PlatformLogLevel level = LOG_LEVEL_DEBUG) const;
};

}  // namespace Tarvo::Quil
