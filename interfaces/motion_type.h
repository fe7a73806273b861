// Motion type ids: the integers the host enables and disables, and the `type` of every
// report. Plain int32 crosses the plug-in boundary; these names are for our code.
#pragma once

#include <array>
#include <cstdint>

namespace Tarvo::Quil {

enum MotionType : int32_t {
    MOTION_TYPE_PICKUP = 0,
    MOTION_TYPE_NEAR_EAR = 2,
    MOTION_TYPE_FLIP = 3,
    MOTION_TYPE_ROTATE = 4,
    MOTION_TYPE_SHAKE = 6,
    MOTION_TYPE_POCKET = 7,
    MOTION_TYPE_SWIPE_LEFT = 9,    // from the right edge, direction 1
    MOTION_TYPE_SWIPE_RIGHT = 10,  // from the left edge, direction 3
    MOTION_TYPE_SWIPE_UP = 11,     // from the bottom edge, direction 0
    MOTION_TYPE_PINCH = 12,
    MOTION_TYPE_THREE_FINGERS_SLIDE = 13,
};

// Every supported type, in the order IsSupportType scans them.
inline constexpr std::array<int32_t, 11> kSupportTypes = {2, 0, 3, 7, 4, 6, 9, 10, 11, 12, 13};
// The touch gesture types; the rest of kSupportTypes are device motions.
inline constexpr std::array<int32_t, 5> kGestureTypes = {9, 10, 11, 12, 13};

}  // namespace Tarvo::Quil
