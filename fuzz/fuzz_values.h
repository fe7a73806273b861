// Values the fuzz targets derive from their input bytes, shared so every target probes
// the same extremes.
#pragma once

#include <cstdint>
#include <limits>

namespace Tarvo::Fuzz {

// A touch coordinate: the int32 limits, small negatives, or a screen-sized range.
inline int32_t Coordinate(uint8_t selector, uint8_t low)
{
    switch (selector % 8) {
        case 0:
            return std::numeric_limits<int32_t>::min();
        case 1:
            return std::numeric_limits<int32_t>::max();
        case 2:
            return -static_cast<int32_t>(low);
        default:
            return static_cast<int32_t>(selector) * 12 + low;
    }
}

}  // namespace Tarvo::Fuzz
