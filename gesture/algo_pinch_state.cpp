#include "algo_pinch_state.h"

#include <cmath>
#include <cstdlib>

#include "algo_two_fingers_move_state.h"
#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoPinchState";
constexpr double kScaleStep = 0.1;  // smaller changes of the scale are not reported
}  // namespace

States AlgoPinchState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoPinchState enter");
    ReportFinishInfo();  // a further finger ends the pinch, whatever follows
    switch (FingerCount(event)) {
        case 1:
            return HandleLoneFingerDown(site, event);
        case 3:
            return AddFinger(site, event, STATE_THREE_FINGERS_DOWN, true);
        default:
            return FailWrongInput(site, event);
    }
}

States AlgoPinchState::HandleMoveEvent(const PointerEvent& event)
{
    // No entry line: this runs for every move sample.
    const LogSite site{kLogTag, __func__};
    if (FingerCount(event) != 2) {
        LogWrongInput(site, event);
        ClearStore();
        ReportFinishInfo();
        return Transit(site, STATE_ERROR);
    }
    StoreEvent(event);
    const PointerRecords moves = CollectRecords(POINTER_ACTION_MOVE);
    const auto pair =
        moves.size() > 2 ? std::nullopt : MeasuredPair(moves, CollectRecords(POINTER_ACTION_DOWN));
    if (!pair.has_value()) {
        // No move record, three or more, or nothing left to pair with; the store is
        // deliberately kept here.
        MLOGE("MAP store error,store wrong MoveEvent");
        ReportFinishInfo();
        return Transit(site, STATE_ERROR);
    }
    if (std::llabs(static_cast<int64_t>(GetAngle(*pair)) - angle) >= kPinchAngleLimitDegrees) {
        MLOGD("The Angle changes too much during pinch");
        ReportFinishInfo();
        return Transit(site, STATE_END);
    }
    const double scale = GetScale(GetDistance(*pair), distance);
    if (std::fabs(scale - reportInfo_.move) > kScaleStep) {
        reportInfo_.move = scale;
        Report();
    }
    // Written after the report, so the first report from here still carries the start
    // status; kept that way.
    reportInfo_.status = GESTURE_STATUS_IN_PROGRESS;
    return STATE_PINCH;
}

States AlgoPinchState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("enter");
    ReportFinishInfo();  // even a malformed lift closes the pinch for the host
    if (FingerCount(event) != 2) {
        return FailWrongInput(site, event);
    }
    if (!RefreshDownEvent()) {
        return FailWith(site, "MAP store error,store wrong DownEvent");
    }
    if (!HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        return FailWith(site, "MAP store error,not store DownEvent");
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    return Transit(site, STATE_ONE_FINGER_DOWN);
}

}  // namespace Tarvo::Quil
