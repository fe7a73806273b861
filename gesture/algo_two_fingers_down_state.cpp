#include "algo_two_fingers_down_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoTwoFingersDownState";
}  // namespace

States AlgoTwoFingersDownState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoTwoFingersDownState enter");
    switch (FingerCount(event)) {
        case 1:
            return HandleLoneFingerDown(site, event);
        case 3:
            return AddFinger(site, event, STATE_THREE_FINGERS_DOWN, false);
        default:
            return FailWrongInput(site, event);
    }
}

States AlgoTwoFingersDownState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoTwoFingersDownState enter");
    if (FingerCount(event) != 2) {
        return FailWrongInput(site, event);
    }
    if (HasRecord(event.pointerId, event.pointerAction)) {
        return FailWith(site, "MAP store error,store wrong MoveEvent");
    }
    // The finger's first move record: the move state measures from here.
    StoreEvent(event);
    return Transit(site, STATE_TWO_FINGERS_MOVE);
}

States AlgoTwoFingersDownState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoTwoFingersDownState enter");
    if (FingerCount(event) != 2) {
        ClearStore();
        // At error level and without a wrong-input line, unlike the other paths.
        LogTransition(site, state_, STATE_ERROR, LOG_LEVEL_ERROR);
        return STATE_ERROR;
    }
    if (!HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        return FailWith(site, "MAP store error,store wrong DownEvent");
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    // The line names the three-finger state: deliberate, the debug log reads so.
    LogTransition(site, STATE_THREE_FINGERS_DOWN, STATE_ONE_FINGER_DOWN);
    return STATE_ONE_FINGER_DOWN;
}

}  // namespace Tarvo::Quil
