// Two fingers are down and neither has moved: a third finger, the first movement, or a
// lift decides what follows.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoTwoFingersDownState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;
};

}  // namespace Tarvo::Quil
