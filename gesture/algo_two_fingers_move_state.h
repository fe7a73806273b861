// Two fingers are down and moving: a pinch starts once their distance has changed by
// 300 pixels or more while the angle between them stayed within 30 degrees.
#pragma once

#include <optional>

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoTwoFingersMoveState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;
};

// The pair a two-finger move is measured on, shared with the pinch state: with one
// finger moved, its latest position and then the down records in store order; with two
// moved, both move records. Null with fewer than two records. With one finger moved,
// the second may be that finger's own down record, so a pinch can start from the
// travel of one finger alone: deliberate, and the pinch reports of recordings rely on it.
std::optional<PointerRecords> MeasuredPair(const PointerRecords& moves,
                                           const PointerRecords& downs);

}  // namespace Tarvo::Quil
