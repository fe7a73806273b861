#include "algo_flip.h"

#include <cmath>
#include <cstring>

#include "motion_log.h"
#include "motion_type.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoFlip";

constexpr int32_t kFlipTimeoutSamples = 50;
constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr float kAccRangeLimit = 100.0F;  // m/s²; beyond it a sample has no angles
constexpr float kStillXLimit = 4.0F;      // m/s²
constexpr double kMagMin = 5.0;           // m/s², exclusive
constexpr double kMagMax = 14.0;          // m/s², exclusive
constexpr double kPitchUpMin = 160.0;     // degrees
constexpr double kPitchUpMax = 180.0;     // degrees
constexpr double kFlatLimit = 20.0;       // degrees
constexpr double kRollMin = 20.0;         // degrees, exclusive
constexpr double kRollMax = 160.0;        // degrees, exclusive
constexpr int32_t kResultFlipped = 1;
constexpr int32_t kResultLeft = 0;
}  // namespace

AlgoFlip::AlgoFlip() : counter_(kFlipTimeoutSamples)
{
    supportSensors_.insert(SENSOR_TYPE_ID_ACCELEROMETER);
}

MotionData AlgoFlip::GetReportData(int result) const
{
    return MakeReport(MOTION_TYPE_FLIP, result);
}

int AlgoFlip::PreprocessData(int sensorTypeId, void* data)
{
    if (sensorTypeId != SENSOR_TYPE_ID_ACCELEROMETER) {
        MLOGE("Failed to get acc data");
        return -1;
    }
    if (data_ == nullptr) {
        data_ = std::make_shared<FlipData>();
    }
    const AccelData acc = ReadInvertedAcc(data);
    data_->x = acc.x;
    data_->y = acc.y;
    data_->z = acc.z;
    // An out-of-range sample keeps its axes but not its angles: the next step then mixes
    // new axes with old angles. Deliberate: flip reports after a wild sample depend on it.
    if (!(std::fabs(data_->x) < kAccRangeLimit && std::fabs(data_->y) < kAccRangeLimit &&
          std::fabs(data_->z) < kAccRangeLimit)) {
        MLOGE("Failed to get valid acc data");
        return -1;
    }
    data_->pitch = -static_cast<double>(std::atan2(data_->y, data_->z)) * kDegreesPerRadian;
    data_->roll = static_cast<double>(std::atan2(data_->x, data_->z)) * kDegreesPerRadian;
    MLOGD("roll:%{public}lf,pitch:%{public}lf", data_->roll, data_->pitch);
    data_->vectorMag = static_cast<double>(
        std::sqrt(data_->y * data_->y + data_->x * data_->x + data_->z * data_->z));
    return 0;
}

int AlgoFlip::StartAlgorithm(int sensorTypeId, void* data)
{
    MLOGD("enter");
    if (data == nullptr) {
        MLOGE("sensorData is nullptr");
        return -1;
    }
    PreprocessData(sensorTypeId, data);
    switch (state_) {
        case UNKNOWN:
            HandleUnknown();
            break;
        case STILL_UP:
            HandleStillUp();
            break;
        case FLIPPING_UP:
            HandleFlippingUp();
            break;
        case FLIPPED_UP:
            HandleFlippedUp();
            break;
        case STILL_DOWN:
            HandleStillDown();
            break;
        case FLIPPING_DOWN:
            HandleFlippingDown();
            break;
        case FLIPPED_DOWN:
            HandleFlippedDown();
            break;
        default:
            MLOGW("Unknown type");
            break;
    }
    return 0;
}

bool AlgoFlip::HasData(const char* op) const
{
    if (data_ == nullptr) {
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, op, "data_ is nullptr");
        return false;
    }
    return true;
}

// The predicates compare x and z in single precision, angles and magnitude in double.

bool AlgoFlip::IsStillAccUp() const
{
    return HasData(__func__) && data_->z < 0.0F && std::fabs(data_->x) < kStillXLimit;
}

bool AlgoFlip::IsStillAccDown() const
{
    return HasData(__func__) && data_->z > 0.0F && std::fabs(data_->x) < kStillXLimit;
}

bool AlgoFlip::IsFlippedAccUp() const
{
    return HasData(__func__) && data_->z > 0.0F && std::fabs(data_->x) < kStillXLimit;
}

bool AlgoFlip::IsFlippedAccDown() const
{
    return HasData(__func__) && data_->z < 0.0F && std::fabs(data_->x) < kStillXLimit;
}

bool AlgoFlip::IsVentorMag() const
{
    return HasData(__func__) && data_->vectorMag > kMagMin && data_->vectorMag < kMagMax;
}

bool AlgoFlip::IsPitchUp() const
{
    if (!HasData(__func__)) {
        return false;
    }
    const double pitch = std::fabs(data_->pitch);
    return pitch >= kPitchUpMin && pitch <= kPitchUpMax;
}

bool AlgoFlip::IsPitchDown() const
{
    return HasData(__func__) && std::fabs(data_->pitch) <= kFlatLimit;
}

bool AlgoFlip::IsRoll() const
{
    if (!HasData(__func__)) {
        return false;
    }
    const double roll = std::fabs(data_->roll);
    return roll > kRollMin && roll < kRollMax;
}

void AlgoFlip::HandleUnknown()
{
    MLOGD("enter");
    // Deliberately kept although the branches look swapped: a device resting face up
    // goes to STILL_DOWN and any other pose to STILL_UP, so the machine always waits for
    // the device to come back to the pose it rested in.
    if (!(IsStillAccUp() && IsVentorMag() && IsPitchUp())) {
        state_ = STILL_UP;
    } else if (!(IsStillAccDown() && IsVentorMag() && IsPitchDown())) {
        state_ = STILL_DOWN;
    } else {
        MLOGE("Failed to convert still state");
    }
}

void AlgoFlip::HandleStillUp()
{
    MLOGD("enter");
    if (IsRoll()) {
        state_ = FLIPPING_UP;
    } else {
        MLOGE("Failed to convert flipping state");
    }
}

bool AlgoFlip::TimedOut()
{
    // The sample that entered the flipping state did not count; the 50th here does.
    if (counter_-- == 1) {
        counter_ = kFlipTimeoutSamples;
        state_ = UNKNOWN;
        return true;
    }
    return false;
}

void AlgoFlip::HandleFlippingUp()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    if (TimedOut()) {
        return;
    }
    if (IsFlippedAccUp() && IsVentorMag() && std::fabs(data_->pitch) <= kFlatLimit &&
        std::fabs(data_->roll) <= kFlatLimit) {
        state_ = FLIPPED_UP;
        Report(GetReportData(kResultFlipped));
        counter_ = kFlipTimeoutSamples;
    } else {
        MLOGW("Failed to convert flipped up state");
    }
}

void AlgoFlip::HandleFlippedUp()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    if (data_->z < 0.0F || std::fabs(data_->roll) > kFlatLimit) {
        state_ = UNKNOWN;
        Report(GetReportData(kResultLeft));
    }
}

void AlgoFlip::HandleStillDown()
{
    MLOGD("enter");
    if (IsRoll()) {
        state_ = FLIPPING_DOWN;
    } else {
        MLOGE("Failed to convert flipping state");
    }
}

void AlgoFlip::HandleFlippingDown()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    if (TimedOut()) {
        return;
    }
    // Deliberately looser than the up direction: no upper pitch bound and no roll test.
    if (IsFlippedAccDown() && IsVentorMag() && std::fabs(data_->pitch) >= kPitchUpMin) {
        state_ = FLIPPED_DOWN;
        Report(GetReportData(kResultFlipped));
        counter_ = kFlipTimeoutSamples;
    } else {
        MLOGW("Failed to convert flipped down state");
    }
}

void AlgoFlip::HandleFlippedDown()
{
    MLOGD("enter");
    if (data_ == nullptr) {
        MLOGE("data_ is nullptr");
        return;
    }
    // This test reads roll, not pitch: deliberate, it decides when a flip is undone.
    if (data_->z > 0.0F || std::fabs(data_->roll) < kRollMax) {
        state_ = UNKNOWN;
        Report(GetReportData(kResultLeft));
    }
}

}  // namespace Tarvo::Quil
