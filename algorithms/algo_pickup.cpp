#include "algo_pickup.h"

#include "motion_log.h"
#include "motion_type.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoPickup";
constexpr double kPitchMin = 0.0;    // degrees, exclusive: tilted towards the user
constexpr double kPitchMax = 135.0;  // degrees, exclusive
}  // namespace

AlgoPickup::AlgoPickup() : AlgoPoseBase(kLogTag, true)
{
    supportSensors_.insert(SENSOR_TYPE_ID_ACCELEROMETER);
}

MotionData AlgoPickup::GetReportData(int result) const
{
    return MakeReport(MOTION_TYPE_PICKUP, result);
}

int AlgoPickup::PreprocessData(int sensorTypeId, void* data)
{
    if (sensorTypeId != SENSOR_TYPE_ID_ACCELEROMETER) {
        MLOGE("Failed to get acc data");
        return -1;
    }
    if (data_ == nullptr) {
        data_ = std::make_shared<PickUpData>();
    }
    ReadAcc(*data_, data);
    return 0;
}

void AlgoPickup::HandleNonAbsoluteStill()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    // No time-out: the device may be carried around for long before it is tilted up.
    if (data_->pitch > kPitchMin && data_->pitch < kPitchMax) {
        state_ = PICKUP;
        Report(GetReportData(1));
    }
}

void AlgoPickup::HandlePickup()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    if (data_->pitch > kPitchMax || data_->pitch < kPitchMin) {
        state_ = IDLE;
        Report(GetReportData(0));
    }
}

}  // namespace Tarvo::Quil
