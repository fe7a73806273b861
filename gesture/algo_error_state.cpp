#include "algo_error_state.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoErrorState";
}  // namespace

States AlgoErrorState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoErrorState enter");
    if (FingerCount(event) == 1 && event.pointerId == 0) {
        ClearStore();
        StoreEvent(event);
        return Transit(site, STATE_ONE_FINGER_DOWN);
    }
    if (FingerCount(event) == 1) {
        LogWrongInput(site, event);
        ClearStore();
    }
    LogStay(__func__);
    return STATE_ERROR;
}

States AlgoErrorState::HandleMoveEvent(const PointerEvent& /*event*/)
{
    LogStay(__func__);
    return STATE_ERROR;
}

States AlgoErrorState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    if (FingerCount(event) == 1) {
        // The last finger leaves: the screen is clear again.
        ClearStore();
        return Transit(site, STATE_IDLE);
    }
    // Deliberately at error level, unlike the other stays.
    LogStay(__func__, LOG_LEVEL_ERROR);
    return STATE_ERROR;
}

void AlgoErrorState::LogStay(const char* op, PlatformLogLevel level) const
{
    QUIL_LOG(level, kLogTag, op, "Current state:STATE_ERROR");
}

}  // namespace Tarvo::Quil
