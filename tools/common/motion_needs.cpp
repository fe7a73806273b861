#include "motion_needs.h"

#include <algorithm>

#include "motion_type.h"
#include "sensor_service_client.h"

namespace Tarvo::Tools {

std::vector<int32_t> MotionNeeds::SensorsOf(int32_t type)
{
    switch (type) {
        case Quil::MOTION_TYPE_PICKUP:
        case Quil::MOTION_TYPE_FLIP:
        case Quil::MOTION_TYPE_ROTATE:
        case Quil::MOTION_TYPE_SHAKE:
            return {SENSOR_TYPE_ID_ACCELEROMETER};
        case Quil::MOTION_TYPE_NEAR_EAR:
            return {SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_PROXIMITY};
        case Quil::MOTION_TYPE_POCKET:
            return {SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_PROXIMITY,
                    SENSOR_TYPE_ID_AMBIENT_LIGHT};
        default:
            return {};
    }
}

bool MotionNeeds::NeedsTouchscreen(int32_t type)
{
    return std::find(Quil::kGestureTypes.begin(), Quil::kGestureTypes.end(), type) !=
           Quil::kGestureTypes.end();
}

std::vector<int32_t> MotionNeeds::Recognisable(const std::vector<int32_t>& sensors,
                                               bool touchscreen)
{
    std::vector<int32_t> types;
    for (const Quil::MotionTypeName& entry : Quil::kMotionTypeNames) {
        const std::vector<int32_t> needed = SensorsOf(entry.type);
        const bool present = std::all_of(needed.begin(), needed.end(), [&sensors](int32_t id) {
            return std::find(sensors.begin(), sensors.end(), id) != sensors.end();
        });
        if (present && (touchscreen || !NeedsTouchscreen(entry.type))) {
            types.push_back(entry.type);
        }
    }
    return types;
}

std::string MotionNeeds::SensorName(int32_t sensorTypeId)
{
    switch (sensorTypeId) {
        case SENSOR_TYPE_ID_ACCELEROMETER:
            return "accelerometer";
        case SENSOR_TYPE_ID_AMBIENT_LIGHT:
            return "light";
        case SENSOR_TYPE_ID_PROXIMITY:
            return "proximity";
        default:
            return std::to_string(sensorTypeId);
    }
}

}  // namespace Tarvo::Tools
