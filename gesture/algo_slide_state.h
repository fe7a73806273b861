// A three-finger slide is in progress: the fingers' average travel is reported whenever
// it has changed by more than 10 pixels; any change of the finger count finishes it.
#pragma once

#include <vector>

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoSlideState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;

    using AlgoGestureState::GetDistance;
    // How far the finger of `event` has moved from its down record.
    int GetDistance(const PointerEvent& event);
    // The average of the first three distances.
    static int GetAvgDistance(const SmallVector<int, 16>& distances);
};

}  // namespace Tarvo::Quil
