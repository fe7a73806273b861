// A gesture has been decided or ruled out: absorbs movement and waits for the finger
// count to change, then starts again from the fingers that remain.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoEndState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;

    // Distance and angle of the first two records; 0 with fewer than two.
    int GetDistance() const;
    int GetAngle() const;
};

}  // namespace Tarvo::Quil
