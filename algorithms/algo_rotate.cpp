#include "algo_rotate.h"

#include <cmath>
#include <cstring>

#include "motion_log.h"
#include "motion_type.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoRotate";
constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr float kAccRangeLimit = 100.0F;  // m/s²
constexpr float kFlatYWeight = 4.0F;      // on y only, deliberately
constexpr double kFullTurn = 360.0;       // degrees

enum Orientation : int {
    ORIENTATION_UPRIGHT = 0,
    ORIENTATION_RIGHT = 1,        // 225 < angle < 315
    ORIENTATION_UPSIDE_DOWN = 2,  // 135 < angle < 225
    ORIENTATION_LEFT = 3,         // 45 < angle < 135
};
}  // namespace

AlgoRotate::AlgoRotate()
{
    supportSensors_.insert(SENSOR_TYPE_ID_ACCELEROMETER);
}

MotionData AlgoRotate::GetReportData(int rotateAction) const
{
    MotionData data = MakeReport(MOTION_TYPE_ROTATE, 1);
    data.rotateAction = rotateAction;
    return data;
}

int AlgoRotate::PreprocessData(int sensorTypeId, void* data)
{
    if (sensorTypeId != SENSOR_TYPE_ID_ACCELEROMETER) {
        MLOGE("Failed to get acc data");
        return -1;
    }
    if (data_ == nullptr) {
        data_ = std::make_shared<RotateData>();
    }
    const AccelData acc = ReadInvertedAcc(data);
    data_->x = acc.x;
    data_->y = acc.y;
    data_->z = acc.z;
    return 0;
}

int AlgoRotate::StartAlgorithm(int sensorTypeId, void* data)
{
    MLOGD("enter");
    if (data == nullptr) {
        MLOGE("sensorData is nullptr");
        return -1;
    }
    PreprocessData(sensorTypeId, data);
    if (CheckData()) {
        return -1;
    }
    // Lying flat, gravity says nothing about the orientation: the last one stands.
    if (IsHorizontal()) {
        return -1;
    }
    CalculateDisplayAngle();
    return 0;
}

bool AlgoRotate::CheckData()
{
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return false;
    }
    if (std::fabs(data_->x) > kAccRangeLimit || std::fabs(data_->y) > kAccRangeLimit ||
        std::fabs(data_->z) > kAccRangeLimit) {
        MLOGE("Data exceeds threshold");
        return true;
    }
    return false;
}

bool AlgoRotate::IsHorizontal()
{
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return false;
    }
    const float x = data_->x;
    const float y = data_->y;
    const float z = data_->z;
    if (z * z > kFlatYWeight * y * y + x * x) {
        MLOGE("The device is horizontal");
        return true;
    }
    return false;
}

void AlgoRotate::CalculateDisplayAngle()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    double angle = static_cast<double>(std::atan2(-data_->y, data_->x)) * -kDegreesPerRadian + 90.0;
    MLOGD("orientation: %{public}f", angle);
    if (angle > kFullTurn) {
        MLOGD("orientation is more than 360");
        angle -= kFullTurn;
    } else if (angle < 0.0) {
        MLOGD("orientation is less than 0");
        angle += kFullTurn;
    }
    int rotate = ORIENTATION_UPRIGHT;
    if (angle > 45.0 && angle < 135.0) {
        rotate = ORIENTATION_LEFT;
    } else if (angle > 135.0 && angle < 225.0) {
        rotate = ORIENTATION_UPSIDE_DOWN;
    } else if (angle > 225.0 && angle < 315.0) {
        rotate = ORIENTATION_RIGHT;
    }
    MLOGD("rotate:%{public}d", rotate);
    Report(GetReportData(rotate));
}

}  // namespace Tarvo::Quil
