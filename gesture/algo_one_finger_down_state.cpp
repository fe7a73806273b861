#include "algo_one_finger_down_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoOneFingerDownState";
constexpr char kWrongInput[] =
    "The wrong input data,Current state:STATE_ONE_FINGER_DOWN,next state:STATE_ERROR";
constexpr char kWrongDown[] =
    "MAP store error,store wrong DownEvent,Current state:STATE_ONE_FINGER_DOWN,next "
    "state:STATE_ERROR";
}  // namespace

States AlgoOneFingerDownState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoOneFingerDownState enter");
    const size_t fingers = FingerCount(event);
    // This state's error lines name the transition themselves.
    if (fingers == 0 || fingers >= 3 || (fingers == 1 && event.pointerId != 0)) {
        MLOGE("%{public}s", kWrongInput);
        ClearStore();
        return STATE_ERROR;
    }
    if (fingers == 1) {
        // A first finger again (an up went missing): the gesture restarts from it.
        ClearStore();
        StoreEvent(event);
        return STATE_ONE_FINGER_DOWN;
    }
    if (HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        MLOGE("%{public}s", kWrongDown);
        ClearStore();
        return STATE_ERROR;
    }
    StoreEvent(event);
    const PointerRecords records = CollectRecords();
    if (records.size() != 2) {
        MLOGE("%{public}s", kWrongDown);
        ClearStore();
        // With fewer than two records there is no pair to measure; more than two are
        // measured as they stand.
        if (records.size() < 2) {
            return STATE_ERROR;
        }
    }
    distance = GetDistance(records);
    if (distance == 0) {
        MLOGE(
            "Two pressed positions coincide,Current state:STATE_ONE_FINGER_DOWN,next "
            "state:STATE_ERROR");
        ClearStore();
        return STATE_ERROR;
    }
    angle = GetAngle(records);
    return Transit(site, STATE_TWO_FINGERS_DOWN);
}

States AlgoOneFingerDownState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoOneFingerDownState enter");
    if (FingerCount(event) != 1) {
        return FailWrongInput(site, event);
    }
    // Any movement leaves this state; the distance is judged in the move state.
    StoreEvent(event, POINTER_ACTION_MOVE);
    return Transit(site, STATE_ONE_FINGER_MOVE);
}

States AlgoOneFingerDownState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoOneFingerDownState enter");
    ClearStore();
    if (FingerCount(event) == 1) {
        return Transit(site, STATE_IDLE);  // a touch, not a gesture
    }
    return FailWrongInput(site, event);
}

int AlgoOneFingerDownState::GetDistance(const PointerRecords& events) const
{
    MLOGD("enter");
    return AlgoGestureState::GetDistance(events);
}

int AlgoOneFingerDownState::GetAngle(const PointerRecords& events) const
{
    MLOGD("enter");
    return AlgoGestureState::GetAngle(events);
}

}  // namespace Tarvo::Quil
