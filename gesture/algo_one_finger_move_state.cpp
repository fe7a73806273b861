#include "algo_one_finger_move_state.h"

#include <cstdlib>

#include "motion_log.h"
#include "motion_type.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoOneFingerMoveState";
constexpr char kWrongDown[] = "MAP store error,store wrong DownEvent";

constexpr int kSwipeStartPixels = 100;  // travel at which the movement is judged
// Edge zones, display pixels, inclusive; fixed, deliberately not scaled to the display.
constexpr int64_t kLeftEdgeMinX = 1;
constexpr int64_t kLeftEdgeMaxX = 133;
constexpr int64_t kRightEdgeMinX = 1210;
constexpr int64_t kRightEdgeMaxX = 1343;
constexpr int64_t kBottomEdgeMinY = 2634;
constexpr int64_t kBottomEdgeMaxY = 2771;

bool Within(int64_t value, int64_t low, int64_t high)
{
    return value >= low && value <= high;
}
}  // namespace

bool AlgoOneFingerMoveState::HasPair(const char* op) const
{
    if (pointerEvents_.size() != 2) {
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, op, "MAP store error,pointerInfos size is not 2");
        return false;
    }
    return true;
}

PointerRecords AlgoOneFingerMoveState::GetPointerInfos() const
{
    return HasPair(__func__) ? CollectRecords() : PointerRecords{};
}

bool AlgoOneFingerMoveState::GetDistance(int& result) const
{
    if (!HasPair(__func__)) {
        return false;
    }
    result = AlgoGestureState::GetDistance(CollectRecords());
    return true;
}

bool AlgoOneFingerMoveState::GetAngle(int& result) const
{
    if (!HasPair(__func__)) {
        return false;
    }
    result = AlgoGestureState::GetAngle(CollectRecords());
    return true;
}

bool AlgoOneFingerMoveState::JudgeSwipe(int swipeDistance)
{
    const PointerRecords infos = GetPointerInfos();
    if (infos.size() != 2) {
        reportInfo_.result = GESTURE_RESULT_NONE;
        return false;
    }
    const int64_t x0 = infos[0].x;
    const int64_t y0 = infos[0].y;
    const int64_t dx = infos[1].x - x0;
    const int64_t dy = infos[1].y - y0;
    const int64_t absDx = std::llabs(dx);
    const int64_t absDy = std::llabs(dy);

    int32_t type = -1;
    Direction direction = DIRECTION_NONE;
    if (absDx > absDy && dx > 0 && Within(x0, kLeftEdgeMinX, kLeftEdgeMaxX)) {
        type = MOTION_TYPE_SWIPE_RIGHT;
        direction = DIRECTION_RIGHT;
    } else if (absDx > absDy && dx < 0 && Within(x0, kRightEdgeMinX, kRightEdgeMaxX)) {
        type = MOTION_TYPE_SWIPE_LEFT;
        direction = DIRECTION_LEFT;
    } else if (absDx < absDy && dy < 0 && Within(y0, kBottomEdgeMinY, kBottomEdgeMaxY)) {
        type = MOTION_TYPE_SWIPE_UP;
        direction = DIRECTION_UP;
    }
    if (type < 0) {
        reportInfo_.result = GESTURE_RESULT_NONE;
        return false;
    }
    // action and rotateAction keep what they hold.
    reportInfo_.type = type;
    reportInfo_.result = GESTURE_RESULT_RECOGNISED;
    reportInfo_.status = GESTURE_STATUS_START;
    reportInfo_.direction = direction;
    reportInfo_.move = static_cast<double>(swipeDistance);
    Report();
    return true;
}

States AlgoOneFingerMoveState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("STATE_ONE_FINGER_MOVE enter");
    if (FingerCount(event) != 1) {
        return FailWrongInput(site, event);
    }
    StoreEvent(event, POINTER_ACTION_MOVE);
    int swipeDistance = 0;
    if (!GetDistance(swipeDistance)) {
        return FailWith(site, "Failed to get swipeDistance");
    }
    if (swipeDistance < kSwipeStartPixels) {
        return STATE_ONE_FINGER_MOVE;
    }
    // Judged once, on the first move that reaches the threshold.
    return Transit(site, JudgeSwipe(swipeDistance) ? STATE_SWIPE : STATE_END);
}

States AlgoOneFingerMoveState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("STATE_ONE_FINGER_MOVE enter");
    const size_t fingers = FingerCount(event);
    if (fingers == 0 || fingers >= 3) {
        return FailWrongInput(site, event);
    }
    if (fingers == 1) {
        if (event.pointerId != 0) {
            LogWrongInput(site, event);
            ClearStore();
            // The line names the down state: deliberate, the debug log reads so.
            LogTransition(site, STATE_ONE_FINGER_DOWN, STATE_ERROR);
            return STATE_ERROR;
        }
        ClearStore();
        StoreEvent(event, POINTER_ACTION_DOWN);
        return STATE_ONE_FINGER_DOWN;
    }
    // A second finger: the first one's latest position becomes its down record.
    if (!RefreshDownEvent() || HasRecord(event.pointerId, event.pointerAction)) {
        return FailWith(site, kWrongDown);
    }
    StoreEvent(event);
    // Unlike the down state, coinciding positions are not rejected here.
    if (GetDistance(distance) && GetAngle(angle)) {
        return Transit(site, STATE_TWO_FINGERS_DOWN);
    }
    return FailWith(site, kWrongDown);
}

States AlgoOneFingerMoveState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("enter");
    ClearStore();
    if (FingerCount(event) == 1) {
        return Transit(site, STATE_IDLE);  // lifted before the threshold: no gesture
    }
    return FailWrongInput(site, event);
}

}  // namespace Tarvo::Quil
