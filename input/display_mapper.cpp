#include "display_mapper.h"

#include <algorithm>
#include <cmath>

namespace Tarvo::Input {
namespace {

// Position of `value` within `range`, 0 at the minimum and 1 at the maximum, clamped.
double Fraction(int32_t value, AxisRange range)
{
    if (range.max <= range.min) {
        return 0.0;
    }
    const double fraction =
        (static_cast<double>(value) - range.min) / (static_cast<double>(range.max) - range.min);
    return std::clamp(fraction, 0.0, 1.0);
}

int32_t Pixel(double fraction, int32_t size)
{
    return static_cast<int32_t>(std::lround(fraction * (std::max(size, 1) - 1)));
}

}  // namespace

DisplayMapper::DisplayMapper(AxisRange x, AxisRange y, int32_t width, int32_t height, int rotation)
    : x_(x),
      y_(y),
      width_(width),
      height_(height),
      rotation_(IsValidRotation(rotation) ? rotation : 0)
{
}

bool DisplayMapper::IsValidRotation(int rotation)
{
    return rotation == 0 || rotation == 90 || rotation == 180 || rotation == 270;
}

void DisplayMapper::Map(int32_t rawX, int32_t rawY, int32_t& x, int32_t& y) const
{
    const double u = Fraction(rawX, x_);
    const double v = Fraction(rawY, y_);
    double du = u;
    double dv = v;
    switch (rotation_) {
        case 90:  // the panel's left edge becomes the display's top
            du = 1.0 - v;
            dv = u;
            break;
        case 180:
            du = 1.0 - u;
            dv = 1.0 - v;
            break;
        case 270:  // the panel's left edge becomes the display's bottom
            du = v;
            dv = 1.0 - u;
            break;
        default:
            break;
    }
    x = Pixel(du, width_);
    y = Pixel(dv, height_);
}

}  // namespace Tarvo::Input
