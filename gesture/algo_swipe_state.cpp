#include "algo_swipe_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoSwipeState";
constexpr double kProgressStepPixels = 10.0;  // progress is recorded in larger steps
}  // namespace

States AlgoSwipeState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoSwipeState enter");
    if (FingerCount(event) != 1) {
        return FailWrongInput(site, event);  // no finishing report on this path
    }
    StoreEvent(event, POINTER_ACTION_MOVE);
    reportInfo_.status = GESTURE_STATUS_IN_PROGRESS;
    const PointerRecords records = CollectRecords();
    if (records.size() != 2) {
        ClearStore();
        return STATE_ERROR;
    }
    // The recorded travel never decreases when the finger moves back, deliberately.
    const double travelled = static_cast<double>(GetDistance(records));
    if (travelled - reportInfo_.move > kProgressStepPixels) {
        reportInfo_.move = travelled;
        Report();  // in progress: logged, not delivered
    }
    return STATE_SWIPE;
}

States AlgoSwipeState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("enter");
    ReportFinishInfo();
    ClearStore();
    if (FingerCount(event) == 1) {
        return Transit(site, STATE_IDLE);
    }
    return FailWrongInput(site, event);
}

States AlgoSwipeState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    // A second touch finishes the swipe, whatever the event holds.
    ReportFinishInfo();
    const size_t fingers = FingerCount(event);
    if (fingers == 0 || fingers >= 3 || (fingers == 1 && event.pointerId != 0)) {
        return FailWrongInput(site, event);
    }
    if (fingers == 1) {
        return RestartFromFirstFinger(site, event);
    }
    if (!RefreshDownEvent()) {
        return FailWith(site, "MAP store error,store wrong DownEvent");
    }
    if (HasRecord(event.pointerId, event.pointerAction)) {
        MLOGE("MAP store error,store wrong DownEvent");
        ClearStore();
        return STATE_ERROR;
    }
    StoreEvent(event);
    const PointerRecords records = CollectRecords();
    if (records.size() != 2) {
        ClearStore();
        return STATE_ERROR;
    }
    distance = GetDistance(records);
    angle = GetAngle(records);
    return STATE_TWO_FINGERS_DOWN;
}

}  // namespace Tarvo::Quil
