#include "algo_near_ear.h"

#include <cmath>
#include <cstring>

#include "motion_log.h"
#include "motion_type.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoNearEar";
constexpr double kPitchMin = 70.0;   // degrees, exclusive: held upright at the ear
constexpr double kPitchMax = 135.0;  // degrees, exclusive
}  // namespace

AlgoNearEar::AlgoNearEar() : AlgoPoseBase(kLogTag, false)
{
    supportSensors_.insert(SENSOR_TYPE_ID_ACCELEROMETER);
    supportSensors_.insert(SENSOR_TYPE_ID_PROXIMITY);
}

MotionData AlgoNearEar::GetReportData(int result) const
{
    return MakeReport(MOTION_TYPE_NEAR_EAR, result);
}

int AlgoNearEar::PreprocessData(int sensorTypeId, void* data)
{
    MLOGD("sensorTypeId:%{public}d", sensorTypeId);
    if (supportSensors_.count(sensorTypeId) == 0) {  // the member: no copy per sample
        MLOGE("Failed to found support sensorTypeId");
        return -1;
    }
    if (data_ == nullptr) {
        data_ = std::make_shared<NearEarData>();
    }
    if (sensorTypeId == SENSOR_TYPE_ID_PROXIMITY) {
        data_->isNear = IsNearDistance(ReadDistance(data));
        return 0;
    }
    ReadAcc(*data_, data);
    return 0;
}

void AlgoNearEar::HandleNonAbsoluteStill()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    if (data_->pitch > kPitchMin && data_->pitch < kPitchMax && data_->isNear) {
        MLOGD("report near ear state");
        state_ = PICKUP;
        Report(GetReportData(1));
    } else {
        MLOGW("Failed to near ear state");
    }
}

void AlgoNearEar::HandleEar()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    // Only the proximity sensor ends it; the pitch is not looked at here.
    if (!data_->isNear) {
        state_ = IDLE;
        Report(GetReportData(0));
    }
}

}  // namespace Tarvo::Quil
