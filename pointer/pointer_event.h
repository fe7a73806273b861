// The library's own record of one touch event.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "small_vector.h"

namespace Tarvo::Quil {

// Pointer action codes of the input service that the gesture machine handles.
enum PointerAction : int32_t {
    POINTER_ACTION_DOWN = 2,
    POINTER_ACTION_MOVE = 3,
    POINTER_ACTION_UP = 4,
};

// Ids of the fingers on the screen; ten fingers and some to spare stay inline.
using PointerIdList = SmallVector<int32_t, 16>;

struct PointerEvent {
    int32_t pointerId = 0;      // the finger this event is about
    int32_t pointerAction = 0;  // 2 down, 3 move, 4 up
    int32_t x = 0;              // display pixels
    int32_t y = 0;
    PointerIdList pointerIds;  // every finger on the screen, acting one included

    // "pointerId:0 pointerAction:2 x:10 y:20 size:1"
    std::string Dump() const;
};

}  // namespace Tarvo::Quil
