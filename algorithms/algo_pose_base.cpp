#include "algo_pose_base.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "motion_log.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {
namespace {
constexpr int32_t kDebounceSamples = 5;
constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr double kStillMagMin = 8.0;   // m/s², inclusive
constexpr double kStillMagMax = 12.0;  // m/s², inclusive
constexpr float kGravityAxis = 9.0F;   // m/s²: an axis carrying (almost) all of gravity
constexpr float kQuietAxis = 1.0F;     // m/s²: an axis carrying (almost) none of it

// The pose tests, single precision and strict. The long-vertical test wants x and z
// above 1 and the flipped test z below 9: deliberate, and which samples count as a
// pose (so when a pick-up or near-ear report comes) depends on them.
bool IsHorizontalPose(const PickUpData& p)
{
    return p.z < -kGravityAxis && std::fabs(p.x) < kQuietAxis && std::fabs(p.y) < kQuietAxis;
}
bool IsShortVerticalPose(const PickUpData& p)
{
    return std::fabs(p.x) > kGravityAxis && std::fabs(p.y) < kQuietAxis &&
           std::fabs(p.z) < kQuietAxis;
}
bool IsLongVerticalPose(const PickUpData& p)
{
    return p.y > kGravityAxis && std::fabs(p.x) > kQuietAxis && std::fabs(p.z) > kQuietAxis;
}
bool IsFlippedPose(const PickUpData& p)
{
    return std::fabs(p.z) < kGravityAxis && std::fabs(p.x) < kQuietAxis &&
           std::fabs(p.y) < kQuietAxis;
}
}  // namespace

AlgoPoseBase::AlgoPoseBase(const char* tag, bool checksDataWhenStill)
    : tag_(tag), checksDataWhenStill_(checksDataWhenStill)
{
}

void AlgoPoseBase::ReadAcc(PickUpData& pose, const void* data)
{
    const AccelData acc = ReadInvertedAcc(data);
    pose.x = acc.x;
    pose.y = acc.y;
    pose.z = acc.z;
    pose.pitch = static_cast<double>(std::atan2(pose.y, pose.z)) * -kDegreesPerRadian;
    pose.vectorMag =
        static_cast<double>(std::sqrt(pose.y * pose.y + pose.x * pose.x + pose.z * pose.z));
}

int AlgoPoseBase::StartAlgorithm(int sensorTypeId, void* data)
{
    QUIL_LOG(LOG_LEVEL_DEBUG, tag_, __func__, "enter");
    if (data == nullptr) {
        QUIL_LOG(LOG_LEVEL_ERROR, tag_, __func__, "sensorData is nullptr");
        return -1;
    }
    PreprocessData(sensorTypeId, data);
    switch (state_) {
        case IDLE:
            HandleIdle();
            break;
        case HORIZONTAL:
        case SHORT_VERTICAL:
        case LONG_VERTICAL:
        case FLIPPED:
            CheckStill();
            break;
        case NON_ABSOLUTE_STILL:
            HandleNonAbsoluteStill();
            break;
        case PICKUP:
            HandleTop();
            break;
        default:
            QUIL_LOG(LOG_LEVEL_WARN, tag_, __func__, "Unknown state");
            break;
    }
    return 0;
}

void AlgoPoseBase::CheckStill()
{
    if (checksDataWhenStill_) {
        if (!IsAbsoluteStill()) {
            state_ = NON_ABSOLUTE_STILL;
        }
        return;
    }
    // The still states are reached only once a sample exists, so this reading skips the
    // empty check and its line; it still never dereferences nothing.
    // Written as the range test it is: a magnitude that is not a number is not still.
    const PickUpData* pose = Pose();
    if (pose == nullptr || !(pose->vectorMag >= kStillMagMin && pose->vectorMag <= kStillMagMax)) {
        state_ = NON_ABSOLUTE_STILL;
    }
}

bool AlgoPoseBase::IsAbsoluteStill()
{
    const PickUpData* pose = Pose();
    if (pose == nullptr) {
        if (checksDataWhenStill_) {
            QUIL_LOG(LOG_LEVEL_ERROR, tag_, __func__, "data_ is nullptr");
        }
        return false;
    }
    return pose->vectorMag >= kStillMagMin && pose->vectorMag <= kStillMagMax;
}

void AlgoPoseBase::HandleIdle()
{
    QUIL_LOG(LOG_LEVEL_DEBUG, tag_, __func__, "enter");
    // All four run on every sample; when several accept, the last one wins.
    if (ConvertToHorizontal() != 0) {
        QUIL_LOG(LOG_LEVEL_WARN, tag_, __func__, "Failed to convert horizontal");
    }
    if (ConvertShortVertical() != 0) {
        QUIL_LOG(LOG_LEVEL_WARN, tag_, __func__, "Failed to convert short vertical");
    }
    if (ConvertToLongVertical() != 0) {
        QUIL_LOG(LOG_LEVEL_WARN, tag_, __func__, "Failed to convert long vertical");
    }
    if (ConvertToFlipped() != 0) {
        QUIL_LOG(LOG_LEVEL_WARN, tag_, __func__, "Failed to convert flipped");
    }
}

int32_t AlgoPoseBase::ConvertToHorizontal()
{
    return Convert(__func__, IsHorizontalPose, horizontalCount_, HORIZONTAL);
}

int32_t AlgoPoseBase::ConvertShortVertical()
{
    return Convert(__func__, IsShortVerticalPose, shortVerticalCount_, SHORT_VERTICAL);
}

int32_t AlgoPoseBase::ConvertToLongVertical()
{
    return Convert(__func__, IsLongVerticalPose, longVerticalCount_, LONG_VERTICAL);
}

int32_t AlgoPoseBase::ConvertToFlipped()
{
    return Convert(__func__, IsFlippedPose, flippedCount_, FLIPPED);
}

int32_t AlgoPoseBase::Convert(const char* op, PoseTest test, int32_t& counter, PickupState target)
{
    QUIL_LOG(LOG_LEVEL_DEBUG, tag_, op, "enter");
    const PickUpData* pose = Pose();
    if (pose == nullptr) {
        QUIL_LOG(LOG_LEVEL_ERROR, tag_, op, "data_ is nullptr");
        return -1;
    }
    if (!test(*pose)) {
        QUIL_LOG(LOG_LEVEL_ERROR, tag_, op, "acc is not satisfied");
        counter = kDebounceSamples;
        return -1;
    }
    // The fifth sample after a miss converts; a counter already past 1 keeps falling
    // (stopping at the bottom of its range rather than overflowing).
    const int32_t before = counter;
    if (before != std::numeric_limits<int32_t>::min()) {
        counter = before - 1;
    }
    if (before == 1) {
        counter = kDebounceSamples;
        state_ = target;
    }
    return 0;
}

}  // namespace Tarvo::Quil
