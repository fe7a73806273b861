// What each motion type needs of a device, for the programs that look at a real one:
// the sensors its recogniser reads, or a touchscreen.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tarvo::Tools {

class MotionNeeds {
public:
    // The sensor type ids `type` reads (empty for touch gestures and unknown types).
    static std::vector<int32_t> SensorsOf(int32_t type);
    static bool NeedsTouchscreen(int32_t type);
    // The supported types a device with these sensors, and a touchscreen or not, can
    // recognise, in type order.
    static std::vector<int32_t> Recognisable(const std::vector<int32_t>& sensors, bool touchscreen);
    // "accelerometer", "light", "proximity"; the id for any other sensor.
    static std::string SensorName(int32_t sensorTypeId);
};

}  // namespace Tarvo::Tools
