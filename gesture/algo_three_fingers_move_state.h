// Three fingers are down and moving: a slide is recognised when all three have moved,
// each in the same direction, and their average travel reaches 240 pixels.
#pragma once

#include <cstdint>
#include <vector>

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoThreeFingersMoveState : public AlgoGestureState {
public:
    States HandleDownEvent(const PointerEvent& event) override;
    States HandleMoveEvent(const PointerEvent& event) override;
    States HandleUpEvent(const PointerEvent& event) override;

    using AlgoGestureState::GetAngle;
    // How far the finger of `event` has moved from its down record.
    int GetDistance(const PointerEvent& event);
    int GetAvgDistance();
    // The dominant direction of a movement (dx, dy); DIRECTION_NONE when neither is.
    static Direction JudgeDirection(int64_t dx, int64_t dy);
    bool IsSameDirection(SmallVector<int, 16> fingerAngles,
                         SmallVector<Direction, 16> fingerDirections);
    bool HandleDirection();

private:
    // Fingers whose travel is kept: bounds movingDistances_ against id floods.
    static constexpr size_t kMaxTrackedFingers = 16;

    struct TrackedFinger {
        int32_t pointerId;
        int32_t pixels;
    };
    // Records `pixels` as the latest travel of finger `pointerId`, unless the finger is
    // new and kMaxTrackedFingers are tracked already.
    void TrackTravel(int32_t pointerId, int32_t pixels);

    // Each finger's latest travel, pixels; inline, as a map would allocate per finger.
    SmallVector<TrackedFinger, kMaxTrackedFingers> movingDistances_;
};

}  // namespace Tarvo::Quil
