#include "algo_slide_state.h"

#include <cmath>

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoSlideState";
constexpr char kWrongDown[] = "MAP store error,store wrong DownEvent";
constexpr double kTravelStepPixels = 10.0;  // smaller changes are not reported
constexpr size_t kFingers = 3;
}  // namespace

int AlgoSlideState::GetDistance(const PointerEvent& event)
{
    return FingerTravel(LogSite{kLogTag, __func__}, event.pointerId,
                        "MAP store error,not store DownEvent");
}

int AlgoSlideState::GetAvgDistance(const SmallVector<int, 16>& distances)
{
    // Unlike the move state, the first three; callers pass exactly three.
    int64_t sum = 0;
    for (size_t i = 0; i < kFingers && i < distances.size(); ++i) {
        sum += distances[i];
    }
    return static_cast<int>(sum / static_cast<int64_t>(kFingers));
}

States AlgoSlideState::HandleMoveEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoSlideState enter");
    if (FingerCount(event) != kFingers) {
        LogWrongInput(site, event);
        ClearStore();
        ReportFinishInfo();
        return Transit(site, STATE_ERROR);
    }
    reportInfo_.status = GESTURE_STATUS_IN_PROGRESS;  // before measuring: every report here is 2
    StoreEvent(event);
    SmallVector<int, 16> distances;
    for (const PointerEvent& move : CollectRecords(POINTER_ACTION_MOVE)) {
        distances.push_back(GetDistance(move));
    }
    if (distances.size() == kFingers) {
        const double average = GetAvgDistance(distances);
        if (std::fabs(average - reportInfo_.move) > kTravelStepPixels) {
            reportInfo_.move = average;
            Report();  // in progress: logged, not delivered
        }
        return STATE_SLIDE;
    }
    ReportFinishInfo();
    if (!RefreshDownEvent()) {
        ClearStore();
        return FailWith(site, kWrongDown);
    }
    return Transit(site, STATE_END);
}

States AlgoSlideState::HandleDownEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoSlideState enter");
    ReportFinishInfo();  // a further finger ends the slide
    switch (FingerCount(event)) {
        case 1:
            return HandleLoneFingerDown(site, event);
        case 4:
            return AddFinger(site, event, STATE_END, true);
        default:
            return FailWrongInput(site, event);
    }
}

States AlgoSlideState::HandleUpEvent(const PointerEvent& event)
{
    const LogSite site{kLogTag, __func__};
    MLOGD("AlgoSlideState enter");
    ReportFinishInfo();  // the host always learns that the slide ended
    if (FingerCount(event) != kFingers) {
        return FailWrongInput(site, event);
    }
    if (!RefreshDownEvent() || !HasRecord(event.pointerId, POINTER_ACTION_DOWN)) {
        return FailWith(site, kWrongDown);
    }
    pointerEvents_.erase(PointerKey{event.pointerId, POINTER_ACTION_DOWN});
    const PointerRecords rest = CollectRecords();
    if (rest.size() != 2) {
        return FailWith(site, kWrongDown);
    }
    distance = AlgoGestureState::GetDistance(rest);
    angle = GetAngle(rest);
    return Transit(site, STATE_TWO_FINGERS_DOWN);
}

}  // namespace Tarvo::Quil
