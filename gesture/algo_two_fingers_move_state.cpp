#include "algo_two_fingers_move_state.h"

#include <cstdlib>

#include "motion_log.h"
#include "motion_type.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoTwoFingersMoveState";
constexpr int64_t kPinchStartPixels = 300;  // change of distance that starts a pinch
}  // namespace

std::optional<PointerRecords> MeasuredPair(const PointerRecords& moves, const PointerRecords& downs)
{
    PointerRecords list = moves;
    if (moves.size() == 1) {
        for (const PointerEvent& down : downs) {
            list.push_back(down);
        }
    }
    if (list.size() < 2) {
        return std::nullopt;
    }
    list.resize(2);
    return list;
}

States AlgoTwoFingersMoveState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoTwoFingersMoveState enter");
    switch (FingerCount(event)) {
        case 1:
            return HandleLoneFingerDown(site, event);
        case 3:
            return AddFinger(site, event, STATE_THREE_FINGERS_DOWN, true);
        default:
            return FailWrongInput(site, event);
    }
}

States AlgoTwoFingersMoveState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoTwoFingersMoveState enter");
    if (FingerCount(event) != 2) {
        LogWrongInput(site, event);
        ClearStore();
        return STATE_ERROR;  // no transition line on this path
    }
    StoreEvent(event);
    const PointerRecords moves = CollectRecords(POINTER_ACTION_MOVE);
    if (moves.empty() || moves.size() > 2) {
        // Deliberately silent and with the store kept: the error state clears it when a
        // lone finger 0 restarts the gesture or the last finger lifts.
        return STATE_ERROR;
    }
    const auto pair = MeasuredPair(moves, CollectRecords(POINTER_ACTION_DOWN));
    if (!pair.has_value()) {
        // No second record to measure against (the store lost its down records): fail
        // safely rather than read past the list.
        ClearStore();
        return STATE_ERROR;
    }
    if (std::llabs(static_cast<int64_t>(GetAngle(*pair)) - angle) >= kPinchAngleLimitDegrees) {
        MLOGD("The Angle changes too much during pinch");
        reportInfo_.result = GESTURE_RESULT_NONE;
        return STATE_END;
    }
    const int currentDistance = GetDistance(*pair);
    if (std::llabs(static_cast<int64_t>(currentDistance) - distance) < kPinchStartPixels) {
        return STATE_TWO_FINGERS_MOVE;
    }
    const double scale = GetScale(currentDistance, distance);
    reportInfo_.type = MOTION_TYPE_PINCH;
    reportInfo_.result = GESTURE_RESULT_RECOGNISED;
    reportInfo_.status = GESTURE_STATUS_START;
    reportInfo_.action = scale <= 1.0 ? PINCH_ACTION_CLOSING : PINCH_ACTION_OPENING;
    reportInfo_.move = scale;
    Report();
    return STATE_PINCH;
}

States AlgoTwoFingersMoveState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoTwoFingersMoveState enter");
    if (FingerCount(event) != 2) {
        ClearStore();
        LogTransition(site, state_, STATE_ERROR, LOG_LEVEL_ERROR);
        return STATE_ERROR;
    }
    if (!RefreshDownEvent() || !HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        return FailWith(site, "MAP store error,store wrong DownEvent");
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    return Transit(site, STATE_ONE_FINGER_DOWN);
}

}  // namespace Tarvo::Quil
