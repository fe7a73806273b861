// The words of a gesture report, for every state: what `result`, `status`, `action`
// and `direction` of the shared MotionData mean, and the limits two states share.
#pragma once

#include <cstdint>

namespace Tarvo::Quil {

// MotionData::result of a gesture report.
enum GestureResult : int32_t {
    // Cleared; left by a state that judged a movement and found no gesture, it tells
    // the end state that there is nothing to finish.
    GESTURE_RESULT_NONE = -1,
    GESTURE_RESULT_RECOGNISED = 1,  // recognised, or in progress
    GESTURE_RESULT_FINISHED = 2,
};

// MotionData::status of a gesture report.
enum GestureStatus : int32_t {
    GESTURE_STATUS_NONE = -1,
    GESTURE_STATUS_START = 1,
    GESTURE_STATUS_IN_PROGRESS = 2,  // logged, never handed to the host
    GESTURE_STATUS_END = 3,
};

// MotionData::action of a pinch, fixed when it starts.
enum PinchAction : int32_t {
    PINCH_ACTION_OPENING = 0,
    PINCH_ACTION_CLOSING = 1,
};

// MotionData::direction of a swipe or a slide; y grows downwards on the screen.
enum Direction : int32_t {
    DIRECTION_NONE = -1,  // a slide with |dx| == |dy|
    DIRECTION_UP = 0,
    DIRECTION_LEFT = 1,
    DIRECTION_DOWN = 2,
    DIRECTION_RIGHT = 3,
};

// A change of the fingers' angle this large, in whole degrees, is no pinch: it keeps
// a pinch from starting, and ends one under way.
inline constexpr int64_t kPinchAngleLimitDegrees = 31;

}  // namespace Tarvo::Quil
