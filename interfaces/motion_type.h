// Motion type ids: the integers the host enables and disables, and the `type` of every
// report. Plain int32 crosses the plug-in boundary; these names are for our code.
#pragma once

#include <array>
#include <cstdint>

/// \file
/// The motion type ids a host passes to IMotionAlgo::Enable() and finds in
/// MotionData::type.

namespace Tarvo::Quil {

/// Motion type ids. The interface takes and reports plain integers; these names are a
/// convenience. Ids 1, 5 and 8 are unused.
enum MotionType : int32_t {
    MOTION_TYPE_PICKUP = 0,        ///< device picked up (accelerometer)
    MOTION_TYPE_NEAR_EAR = 2,      ///< device raised to the ear (accelerometer, proximity)
    MOTION_TYPE_FLIP = 3,          ///< device flipped over (accelerometer)
    MOTION_TYPE_ROTATE = 4,        ///< display orientation (accelerometer)
    MOTION_TYPE_SHAKE = 6,         ///< device shaken (accelerometer)
    MOTION_TYPE_POCKET = 7,        ///< device put into a pocket (accelerometer, proximity, light)
    MOTION_TYPE_SWIPE_LEFT = 9,    ///< one-finger swipe in from the right edge, direction 1
    MOTION_TYPE_SWIPE_RIGHT = 10,  ///< one-finger swipe in from the left edge, direction 3
    MOTION_TYPE_SWIPE_UP = 11,     ///< one-finger swipe up from the bottom edge, direction 0
    MOTION_TYPE_PINCH = 12,        ///< two-finger pinch
    MOTION_TYPE_THREE_FINGERS_SLIDE = 13,  ///< three-finger slide
};

/// Every supported type, in the order IsSupportType scans them.
inline constexpr std::array<int32_t, 11> kSupportTypes = {2, 0, 3, 7, 4, 6, 9, 10, 11, 12, 13};
/// The touch gesture types; the rest of kSupportTypes are device motions.
inline constexpr std::array<int32_t, 5> kGestureTypes = {9, 10, 11, 12, 13};

/// \struct MotionTypeName motion_type.h <quil_motion/motion_type.h>
/// A motion type with the short name programs know it by.
struct MotionTypeName {
    int32_t type;      ///< the motion type id
    const char* name;  ///< its short name, e.g. "flip"
};
/// The short name of every supported type, in type order.
inline constexpr std::array<MotionTypeName, 11> kMotionTypeNames = {{
    {MOTION_TYPE_PICKUP, "pickup"},
    {MOTION_TYPE_NEAR_EAR, "near-ear"},
    {MOTION_TYPE_FLIP, "flip"},
    {MOTION_TYPE_ROTATE, "rotate"},
    {MOTION_TYPE_SHAKE, "shake"},
    {MOTION_TYPE_POCKET, "pocket"},
    {MOTION_TYPE_SWIPE_LEFT, "swipe-left"},
    {MOTION_TYPE_SWIPE_RIGHT, "swipe-right"},
    {MOTION_TYPE_SWIPE_UP, "swipe-up"},
    {MOTION_TYPE_PINCH, "pinch"},
    {MOTION_TYPE_THREE_FINGERS_SLIDE, "slide"},
}};

}  // namespace Tarvo::Quil
