// Waits for a gesture to begin: a lone finger with id 0 touching down.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoIdleState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;
};

}  // namespace Tarvo::Quil
