#include "algo_pocket.h"

#include <cmath>
#include <cstring>

#include "motion_log.h"
#include "motion_type.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoPocket";
constexpr int32_t kPocketSamples = 5;
constexpr float kDarkIntensity = 75.0F;  // lux, exclusive
constexpr float kGravityAxis = 9.0F;     // m/s², exclusive: lying on its face or back
constexpr int32_t kInPocket = 1;
constexpr int32_t kOutOfPocket = 0;
}  // namespace

AlgoPocket::AlgoPocket() : pocketCount_(kPocketSamples)
{
    supportSensors_.insert(SENSOR_TYPE_ID_ACCELEROMETER);
    supportSensors_.insert(SENSOR_TYPE_ID_PROXIMITY);
    supportSensors_.insert(SENSOR_TYPE_ID_AMBIENT_LIGHT);
}

MotionData AlgoPocket::GetReportData(int result) const
{
    return MakeReport(MOTION_TYPE_POCKET, result);
}

int AlgoPocket::PreprocessData(int sensorTypeId, void* data)
{
    MLOGD("sensorTypeId:%{public}d", sensorTypeId);
    if (supportSensors_.count(sensorTypeId) == 0) {  // the member: no copy per sample
        MLOGE("Failed to found support sensorTypeId");
        return -1;
    }
    if (data_ == nullptr) {
        data_ = std::make_shared<PocketData>();
    }
    if (sensorTypeId == SENSOR_TYPE_ID_PROXIMITY) {
        const float distance = ReadDistance(data);
        MLOGD("proximityData->distance:%{public}lf", static_cast<double>(distance));
        data_->isNear = IsNearDistance(distance);
    } else if (sensorTypeId == SENSOR_TYPE_ID_AMBIENT_LIGHT) {
        AmbientLightData light{};
        std::memcpy(&light, data, sizeof(light));
        data_->intensity = light.intensity;
    } else {
        const AccelData acc = ReadInvertedAcc(data);
        data_->x = acc.x;
        data_->y = acc.y;
        data_->z = acc.z;
    }
    return 0;
}

bool AlgoPocket::IsPocket()
{
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return false;
    }
    MLOGD("proximity:%{public}d,intensity:%{public}lf,z:%{public}lf", data_->isNear ? 1 : 0,
          static_cast<double>(data_->intensity), static_cast<double>(data_->z));
    return data_->isNear && data_->intensity < kDarkIntensity && std::fabs(data_->z) > kGravityAxis;
}

int AlgoPocket::StartAlgorithm(int sensorTypeId, void* data)
{
    MLOGD("enter");
    if (data == nullptr) {
        MLOGE("sensorData is nullptr");
        return -1;
    }
    PreprocessData(sensorTypeId, data);
    if (IsPocket()) {
        if (state_ == kInPocket) {
            return 0;
        }
        if (pocketCount_-- == 1) {
            state_ = kInPocket;
            pocketCount_ = kPocketSamples;
        }
        // While the count runs down this repeats the unchanged state, which the report
        // path drops as a repeat.
        Report(GetReportData(state_));
    } else if (state_ != kOutOfPocket) {
        state_ = kOutOfPocket;
        Report(GetReportData(kOutOfPocket));
    }
    return 0;
}

}  // namespace Tarvo::Quil
