// A pinch is in progress: its scale is reported whenever it has changed by more than
// 0.1; any way out first sends the finishing report.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoPinchState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;
};

}  // namespace Tarvo::Quil
