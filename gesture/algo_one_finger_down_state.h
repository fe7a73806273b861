// The first finger is down: it moves, is joined by a second finger, or lifts.
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoOneFingerDownState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;

private:
    // The shared geometry, with an entry line of this state's own.
    int GetDistance(const PointerRecords& events) const;
    int GetAngle(const PointerRecords& events) const;
};

}  // namespace Tarvo::Quil
