#include "algo_idle_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoIdleState";
}  // namespace

States AlgoIdleState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoIdleState ENTER");
    if (FingerCount(event) != 1) {
        // Not a gesture start; ignored without a word.
        return STATE_IDLE;
    }
    if (event.pointerId != 0) {
        return FailWrongInput(site, event);
    }
    ClearStore();
    StoreEvent(event);
    return Transit(site, STATE_ONE_FINGER_DOWN);
}

States AlgoIdleState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    // The transition line comes first here, unlike the up handler.
    Transit(site, STATE_ERROR);
    LogWrongInput(site, event);
    return STATE_ERROR;
}

States AlgoIdleState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    LogWrongInput(site, event);
    return Transit(site, STATE_ERROR);
}

}  // namespace Tarvo::Quil
