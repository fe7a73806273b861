#include "algo_end_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoEndState";
constexpr char kWrongDown[] = "MAP store error,store wrong DownEvent";
}  // namespace

int AlgoEndState::GetDistance() const
{
    return AlgoGestureState::GetDistance(CollectRecords());
}

int AlgoEndState::GetAngle() const
{
    return AlgoGestureState::GetAngle(CollectRecords());
}

States AlgoEndState::HandleMoveEvent(const PointerEvent& event)
{
    MLOGD("AlgoEndState enter");
    StoreEvent(event, POINTER_ACTION_MOVE);
    MLOGD("AlgoEndState exit");
    return STATE_END;
}

States AlgoEndState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoEndState enter");
    const size_t fingers = FingerCount(event);
    if (fingers == 0) {
        return FailWith(site, "Data was entered incorrectly and the container is empty");
    }
    if (fingers == 1) {
        return event.pointerId == 0 ? RestartFromFirstFinger(site, event)
                                    : FailWrongInput(site, event);
    }
    if (!RefreshDownEvent() || HasRecord(event.pointerId, event.pointerAction)) {
        return FailWith(site, kWrongDown);
    }
    StoreEvent(event);
    if (fingers == 2) {
        distance = GetDistance();
        angle = GetAngle();
        return Transit(site, STATE_TWO_FINGERS_DOWN);
    }
    if (fingers == 3) {
        return Transit(site, STATE_THREE_FINGERS_DOWN);
    }
    return STATE_END;  // four or more fingers: still no gesture of ours
}

States AlgoEndState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoEndState enter");
    const size_t fingers = FingerCount(event);  // the lifted finger included
    if (fingers == 0) {
        ClearStore();
        return Transit(site, STATE_ERROR);
    }
    if (!RefreshDownEvent()) {
        return FailWith(site, kWrongDown);
    }
    if (!HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        MLOGE("MAP data storage errorstore wrong DownEvent");  // the text as it stands
        ClearStore();
        return STATE_ERROR;
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    // The next state matches the fingers that remain. For two and three the line names
    // the state of the count before the lift: deliberate, the debug log reads so.
    switch (fingers) {
        case 1:
            return Transit(site, STATE_IDLE);
        case 2:
            distance = GetDistance();  // one finger remains: measured all the same
            angle = GetAngle();
            LogTransition(site, STATE_END, STATE_TWO_FINGERS_DOWN);
            return STATE_ONE_FINGER_DOWN;
        case 3:
            LogTransition(site, STATE_END, STATE_THREE_FINGERS_DOWN);
            return STATE_TWO_FINGERS_DOWN;
        case 4:
            LogTransition(site, STATE_END, STATE_THREE_FINGERS_DOWN);
            return STATE_THREE_FINGERS_DOWN;
        default:
            MLOGD("AlgoEndState exit");
            return STATE_END;
    }
}

}  // namespace Tarvo::Quil
