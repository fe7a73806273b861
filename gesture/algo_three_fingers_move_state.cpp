#include "algo_three_fingers_move_state.h"

#include <cstdlib>
#include <limits>

#include "motion_log.h"
#include "motion_type.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoThreeFingersMoveState";
constexpr char kMissingDown[] = "MAP data storage error";
constexpr int kSlideStartPixels = 300;  // one finger's travel that calls for a decision
constexpr int kSlideAvgPixels = 240;    // average travel that makes it a slide
constexpr size_t kFingers = 3;
}  // namespace

int AlgoThreeFingersMoveState::GetDistance(const PointerEvent& event)
{
    return FingerTravel(LogSite{kLogTag, __func__}, event.pointerId, kMissingDown);
}

void AlgoThreeFingersMoveState::TrackTravel(int32_t pointerId, int32_t pixels)
{
    for (TrackedFinger& finger : movingDistances_) {
        if (finger.pointerId == pointerId) {
            finger.pixels = pixels;
            return;
        }
    }
    if (movingDistances_.size() < kMaxTrackedFingers) {
        movingDistances_.push_back(TrackedFinger{pointerId, pixels});
    }
}

int AlgoThreeFingersMoveState::GetAvgDistance()
{
    SmallVector<int, 16> distances;
    for (const PointerEvent& move : CollectRecords(POINTER_ACTION_MOVE)) {
        distances.push_back(GetDistance(move));
    }
    if (distances.size() != kFingers) {
        MLOGE("MAP data storage error");
        ClearStore();
    }
    // Slots 1 to 3, deliberately: the slot past the three values reads as 0 (so the
    // average is (d1 + d2) / 3), and so does any slot a shorter list does not have.
    // When a slide is recognised depends on it.
    int64_t sum = 0;
    for (size_t slot = 1; slot <= kFingers; ++slot) {
        sum += slot < distances.size() ? distances[slot] : 0;
    }
    return static_cast<int>(sum / static_cast<int64_t>(kFingers));
}

Direction AlgoThreeFingersMoveState::JudgeDirection(int64_t dx, int64_t dy)
{
    const int64_t absDx = std::llabs(dx);
    const int64_t absDy = std::llabs(dy);
    if (absDx < absDy) {
        return dy >= 0 ? DIRECTION_DOWN : DIRECTION_UP;
    }
    if (absDx > absDy) {
        return dx >= 0 ? DIRECTION_RIGHT : DIRECTION_LEFT;
    }
    return DIRECTION_NONE;
}

bool AlgoThreeFingersMoveState::IsSameDirection(SmallVector<int, 16> fingerAngles,
                                                SmallVector<Direction, 16> fingerDirections)
{
    if (fingerAngles.empty() || fingerDirections.empty()) {
        MLOGE("fingerAngles or fingerdirections is empty");
        return false;
    }
    if (fingerAngles.size() < kFingers || fingerDirections.size() < kFingers) {
        MLOGE("Length of fingerAngles or fingerdirections is invalid");
        return false;
    }
    // Only logged, never tested.
    const int64_t avgAngle =
        (static_cast<int64_t>(fingerAngles[0]) + fingerAngles[1] + fingerAngles[2]) / 3;
    MLOGD("avgAngle:%{public}d", static_cast<int>(avgAngle));
    if (fingerDirections[0] != fingerDirections[1] || fingerDirections[1] != fingerDirections[2]) {
        return false;
    }
    reportInfo_.direction = fingerDirections[0];
    return true;
}

bool AlgoThreeFingersMoveState::HandleDirection()
{
    SmallVector<int, 16> fingerAngles;
    SmallVector<Direction, 16> fingerDirections;
    for (const PointerEvent& move : CollectRecords(POINTER_ACTION_MOVE)) {
        auto down = pointerEvents_.find(PointerKey{move.pointerId, POINTER_ACTION_DOWN});
        if (down == pointerEvents_.end()) {
            MLOGE("MAP data storage error");
            ClearStore();
            return false;
        }
        // GetAngle gives 0..90 degrees, so there is nothing to fold into 0..180.
        fingerAngles.push_back(GetAngle(move, down->second));
        fingerDirections.push_back(JudgeDirection(static_cast<int64_t>(move.x) - down->second.x,
                                                  static_cast<int64_t>(move.y) - down->second.y));
    }
    if (fingerAngles.size() != kFingers || fingerDirections.size() != kFingers ||
        !IsSameDirection(fingerAngles, fingerDirections)) {
        ResetReportInfo();
        return false;
    }
    return true;  // reportInfo_.direction holds the common direction
}

States AlgoThreeFingersMoveState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoThreeFingersMoveState enter");
    if (FingerCount(event) != kFingers) {
        return FailWrongInput(site, event);
    }
    StoreEvent(event);
    const int travelled = GetDistance(event);
    TrackTravel(event.pointerId, travelled);
    if (travelled < kSlideStartPixels) {
        MLOGD("Insufficient movingDistance distance");
        return STATE_THREE_FINGERS_MOVE;
    }
    // A finger that gets this far before every finger has moved ends the gesture.
    if (movingDistances_.size() != kFingers) {
        MLOGE("Not all fingers moved");
        movingDistances_.clear();
        return Transit(site, STATE_END);
    }
    if (!HandleDirection()) {
        MLOGE("sliding direction is different");
        return Transit(site, STATE_END);
    }
    if (GetAvgDistance() < kSlideAvgPixels) {
        MLOGD("Insufficient avgDistance distance");
        return STATE_THREE_FINGERS_MOVE;
    }
    reportInfo_.type = MOTION_TYPE_THREE_FINGERS_SLIDE;
    reportInfo_.result = GESTURE_RESULT_RECOGNISED;
    reportInfo_.status = GESTURE_STATUS_START;
    reportInfo_.move = 0.0;
    Report();
    return Transit(site, STATE_SLIDE);
}

States AlgoThreeFingersMoveState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoThreeFingersMoveState enter");
    switch (FingerCount(event)) {
        case 1:
            return HandleLoneFingerDown(site, event);
        case 4:
            return AddFinger(site, event, STATE_END, true);
        default:
            return FailWrongInput(site, event);
    }
}

States AlgoThreeFingersMoveState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoThreeFingersMoveState enter");
    if (FingerCount(event) != kFingers) {
        ClearStore();
        LogWrongInput(site, event);
        // The line names the down state: deliberate, the debug log reads so.
        LogTransition(site, STATE_THREE_FINGERS_DOWN, STATE_ERROR);
        return STATE_ERROR;
    }
    if (!RefreshDownEvent()) {
        return FailWith(site, "MAP store error,store wrong DownEvent");
    }
    if (!HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        return FailWith(site, kMissingDown);
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    const PointerRecords rest = CollectRecords();
    if (rest.size() != 2) {
        ClearStore();
        LogTransition(site, STATE_THREE_FINGERS_DOWN, STATE_ERROR);
        return STATE_ERROR;
    }
    distance = AlgoGestureState::GetDistance(rest);
    angle = GetAngle(rest);
    return Transit(site, STATE_TWO_FINGERS_DOWN);
}

}  // namespace Tarvo::Quil
