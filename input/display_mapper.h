// Maps touch coordinates from a panel's axis ranges onto the display, optionally turning
// a landscape panel into a portrait display.
#pragma once

#include <cstdint>

namespace Tarvo::Input {

struct AxisRange {
    int32_t min = 0;
    int32_t max = 0;
};

class DisplayMapper {
public:
    // The reference display the gesture thresholds are drawn for, in pixels.
    static constexpr int32_t kDefaultWidth = 1344;
    static constexpr int32_t kDefaultHeight = 2772;

    // `rotation`: 0, 90, 180 or 270 degrees clockwise, the turn that brings the panel's
    // picture upright on the display (90: the panel's left edge becomes the top).
    // Anything else is taken as 0; check with IsValidRotation first.
    DisplayMapper(AxisRange x, AxisRange y, int32_t width = kDefaultWidth,
                  int32_t height = kDefaultHeight, int rotation = 0);

    static bool IsValidRotation(int rotation);

    // Panel minimum to the first pixel, maximum to the last; values outside the range
    // are clamped onto the display's edge.
    void Map(int32_t rawX, int32_t rawY, int32_t& x, int32_t& y) const;

private:
    AxisRange x_;
    AxisRange y_;
    int32_t width_;
    int32_t height_;
    int rotation_;
};

}  // namespace Tarvo::Input
