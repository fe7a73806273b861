// Three fingers are down and none has moved: the first movement, a fourth finger or a
// lift decides what follows.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoThreeFingersDownState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;
};

}  // namespace Tarvo::Quil
