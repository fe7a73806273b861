// A finger-level touch event, the way the platform's input service reports pointers.
#pragma once

#include <cstdint>
#include <vector>

namespace Tarvo::Input {

enum class TouchAction : int32_t { DOWN = 2, MOVE = 3, UP = 4 };

struct TouchEvent {
    TouchAction action = TouchAction::MOVE;
    // Lowest id not in use when the finger came down: the first finger is always 0.
    int32_t id = 0;
    // Device units as decoded; DisplayMapper turns them into display pixels.
    int32_t x = 0;
    int32_t y = 0;
    // Every finger down in this frame, ascending; an up still lists the lifting finger.
    std::vector<int32_t> ids;
    // Time of the frame's SYN_REPORT, in microseconds of the source's clock.
    int64_t timeUs = 0;
};

}  // namespace Tarvo::Input
