// Three fingers are down and moving: a slide is recognised when all three have moved,
// each in the same direction, and their average travel reaches 240 pixels.
#pragma once

#include <cstdint>
#include <vector>

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

// Direction of a finger's movement; y grows downwards on the screen.
enum Direction : int32_t {
    DIRECTION_NONE = -1,  // |dx| == |dy|
    DIRECTION_UP = 0,
    DIRECTION_LEFT = 1,
    DIRECTION_DOWN = 2,
    DIRECTION_RIGHT = 3,
};

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
    // The direction of the angle last measured, fingerAngle_ (not used by the handlers).
    Direction JudgeDirection() const;
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
    int32_t fingerAngle_ = 0;  // degrees
};

}  // namespace Tarvo::Quil
