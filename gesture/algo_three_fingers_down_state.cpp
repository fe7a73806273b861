#include "algo_three_fingers_down_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoThreeFingersDownState";
}  // namespace

States AlgoThreeFingersDownState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoThreeFingersDownState enter");
    switch (FingerCount(event)) {
        case 1:
            return HandleLoneFingerDown(site, event);
        case 4:
            // Four fingers are no gesture of ours: it simply ends, the report untouched.
            return AddFinger(site, event, STATE_END, false);
        default:
            return FailWrongInput(site, event);
    }
}

States AlgoThreeFingersDownState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoThreeFingersDownState enter");
    if (FingerCount(event) != 3) {
        ClearStore();
        return Transit(site, STATE_ERROR);  // no wrong-input line on this path
    }
    if (HasRecord(event.pointerId, event.pointerAction)) {
        return FailWith(site, "MAP store error,store wrong MoveEvent");
    }
    StoreEvent(event);
    return Transit(site, STATE_THREE_FINGERS_MOVE);
}

States AlgoThreeFingersDownState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoThreeFingersDownState enter");
    if (FingerCount(event) != 3) {
        return FailWrongInput(site, event);
    }
    if (!HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        return FailWith(site, "MAP store error,not store DownEvent");
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    const PointerRecords rest = CollectRecords();
    if (rest.size() != 2) {
        ClearStore();
        return Transit(site, STATE_ERROR);
    }
    // The two fingers that remain are what a later pinch measures against.
    distance = GetDistance(rest);
    angle = GetAngle(rest);
    return Transit(site, STATE_TWO_FINGERS_DOWN);
}

}  // namespace Tarvo::Quil
