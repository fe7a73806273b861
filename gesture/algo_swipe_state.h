// An edge swipe has been recognised and reported; follows its travel and sends the
// finishing report when the finger lifts or another finger comes down.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoSwipeState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;
};

}  // namespace Tarvo::Quil
