// One finger is moving. At 100 pixels from its down position the movement is judged
// once: an edge swipe (reported, STATE_SWIPE) or some other movement (STATE_END).
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoOneFingerMoveState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;

    // The down and move records of the finger, in that order; empty unless the store
    // holds exactly those two.
    PointerRecords GetPointerInfos() const;
    bool GetDistance(int& result) const;
    bool GetAngle(int& result) const;
    // Reports an edge swipe and answers true, or clears the result and answers false.
    bool JudgeSwipe(int swipeDistance);

private:
    // False, with the size error under `op`, unless the store holds exactly two records.
    bool HasPair(const char* op) const;
};

}  // namespace Tarvo::Quil
