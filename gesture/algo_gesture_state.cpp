#include "algo_gesture_state.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoGestureState";
constexpr double kDegreesPerRadian = 57.29577951308232;

constexpr size_t kMaxStoredRecords = 32;  // down and move records of 16 fingers

// Truncation toward zero that saturates instead of overflowing; the results here are
// never NaN (a square root or an angle of finite integers).
int32_t TruncToInt32(double value)
{
    if (value >= static_cast<double>(std::numeric_limits<int32_t>::max())) {
        return std::numeric_limits<int32_t>::max();
    }
    if (value <= static_cast<double>(std::numeric_limits<int32_t>::min())) {
        return std::numeric_limits<int32_t>::min();
    }
    return static_cast<int32_t>(value);
}

// Coordinate differences in 64 bits: int32 coordinates cannot overflow them, and for
// the coordinates a screen produces they equal the 32-bit ones.
double Delta(int32_t a, int32_t b)
{
    return static_cast<double>(static_cast<int64_t>(a) - static_cast<int64_t>(b));
}
}  // namespace

MotionData AlgoGestureState::reportInfo_;
std::shared_ptr<IMotionAlgo::Callback> AlgoGestureState::callbackImpl_;

const char* StateName(States state)
{
    static constexpr const char* kNames[] = {
        "STATE_IDLE",
        "STATE_ONE_FINGER_DOWN",
        "STATE_ONE_FINGER_MOVE",
        "STATE_SWIPE",
        "STATE_TWO_FINGERS_DOWN",
        "STATE_TWO_FINGERS_MOVE",
        "STATE_PINCH",
        "STATE_THREE_FINGERS_DOWN",
        "STATE_THREE_FINGERS_MOVE",
        "STATE_SLIDE",
        "STATE_END",
        "STATE_ERROR",
    };
    if (state < STATE_IDLE || state > STATE_ERROR) {
        return "STATE_UNKNOWN";
    }
    return kNames[state];
}

States AlgoGestureState::HandleDownEvent(const PointerEvent& /*event*/)
{
    return STATE_IDLE;
}

States AlgoGestureState::HandleMoveEvent(const PointerEvent& /*event*/)
{
    return STATE_IDLE;
}

States AlgoGestureState::HandleUpEvent(const PointerEvent& /*event*/)
{
    return STATE_IDLE;
}

States AlgoGestureState::HandlePointerEvent(const PointerEvent& event)
{
    MLOGD("enter");
    switch (event.pointerAction) {
        case POINTER_ACTION_DOWN:
            return HandleDownEvent(event);
        case POINTER_ACTION_MOVE:
            return HandleMoveEvent(event);
        case POINTER_ACTION_UP:
            return HandleUpEvent(event);
        default:
            MLOGE("Current pointerAction:%{public}d", event.pointerAction);
            return STATE_ERROR;
    }
}

void AlgoGestureState::In(const PointerData& data)
{
    MLOGD("enter");
    distance = data.distance;
    angle = data.angle;
    for (const auto& [key, event] : data.pointerEvents) {
        pointerEvents_[key] = event;
    }
}

PointerData AlgoGestureState::Out() const
{
    MLOGD("enter");
    return PointerData{distance, angle, pointerEvents_};
}

bool AlgoGestureState::RefreshDownEvent()
{
    for (auto it = pointerEvents_.begin(); it != pointerEvents_.end();) {
        if (it->first.pointerAction != POINTER_ACTION_MOVE) {
            ++it;
            continue;
        }
        auto down = pointerEvents_.find(PointerKey{it->first.pointerId, POINTER_ACTION_DOWN});
        if (down == pointerEvents_.end()) {
            MLOGE("MAP store error,not store DownEvent");
            return false;
        }
        down->second = it->second;
        it = pointerEvents_.erase(it);
    }
    return true;
}

void AlgoGestureState::Report()
{
    MLOGD("enter");
    // Our own reference: the host's thread may replace the callback during the call.
    const std::shared_ptr<IMotionAlgo::Callback> callback = std::atomic_load(&callbackImpl_);
    if (callback == nullptr) {
        MLOGE("callbackImpl_ is null");
        return;
    }
    // In-progress reports are only logged; the host hears of a gesture's start and end.
    if (reportInfo_.status != GESTURE_STATUS_IN_PROGRESS) {
        // A copy: a host that re-enables a gesture from inside the call must not see the
        // record change under it.
        const MotionData report = reportInfo_;
        callback->OnMotionChanged(report);
    }
    if (PlatformLogIsLoggable(kMotionLogDomain, kLogTag, LOG_LEVEL_DEBUG)) {
        MLOGD("%{public}s", reportInfo_.Dump().c_str());
    }
}

void AlgoGestureState::ReportFinishInfo()
{
    reportInfo_.result = GESTURE_RESULT_FINISHED;
    reportInfo_.status = GESTURE_STATUS_END;
    Report();
    ResetReportInfo();
}

void AlgoGestureState::ResetReportInfo()
{
    // `type` stays: it still names the last gesture.
    reportInfo_.result = GESTURE_RESULT_NONE;
    reportInfo_.status = GESTURE_STATUS_NONE;
    reportInfo_.action = -1;
    reportInfo_.direction = DIRECTION_NONE;
    reportInfo_.rotateAction = -1;
    reportInfo_.move = 0.0;
}

void AlgoGestureState::SetCurrentState(const States& state)
{
    state_ = state;
}

States AlgoGestureState::GetCurrentState() const
{
    return state_;
}

void AlgoGestureState::RegisterCallback(std::shared_ptr<IMotionAlgo::Callback> callback)
{
    std::atomic_store(&callbackImpl_, std::move(callback));
}

int AlgoGestureState::GetDistance(const PointerEvent& a, const PointerEvent& b)
{
    const double dx = Delta(a.x, b.x);
    const double dy = Delta(a.y, b.y);
    return TruncToInt32(std::sqrt(dx * dx + dy * dy));
}

int AlgoGestureState::GetAngle(const PointerEvent& a, const PointerEvent& b)
{
    const double ax = std::fabs(Delta(a.x, b.x));
    const double ay = std::fabs(Delta(a.y, b.y));
    return TruncToInt32(std::atan2(ay, ax) * kDegreesPerRadian);
}

int AlgoGestureState::GetDistance(const PointerRecords& events)
{
    // Callers measure pairs; a shorter list has no distance.
    return events.size() < 2 ? 0 : GetDistance(events[0], events[1]);
}

int AlgoGestureState::GetAngle(const PointerRecords& events)
{
    return events.size() < 2 ? 0 : GetAngle(events[0], events[1]);
}

double AlgoGestureState::GetScale(int a, int b)
{
    // Spelled out so that a reference distance of 0 gives the IEEE result (an infinite
    // scale, or NaN for 0/0) without a division the sanitizers would flag.
    if (b == 0) {
        if (a == 0) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        return a > 0 ? std::numeric_limits<double>::infinity()
                     : -std::numeric_limits<double>::infinity();
    }
    return static_cast<double>(a) / static_cast<double>(b);
}

void AlgoGestureState::LogTransition(const LogSite& site, States from, States to,
                                     PlatformLogLevel level) const
{
    QUIL_LOG(level, site.tag, site.op, "Current state:%{public}s,next state:%{public}s",
             StateName(from), StateName(to));
}

States AlgoGestureState::Transit(const LogSite& site, States to) const
{
    LogTransition(site, state_, to);
    return to;
}

void AlgoGestureState::LogWrongInput(const LogSite& site, const PointerEvent& event) const
{
    QUIL_LOG(LOG_LEVEL_ERROR, site.tag, site.op,
             "The wrong input data,pointerId:%{public}d,pointerAction:%{public}d", event.pointerId,
             event.pointerAction);
}

States AlgoGestureState::FailWrongInput(const LogSite& site, const PointerEvent& event)
{
    LogWrongInput(site, event);
    ClearStore();
    return Transit(site, STATE_ERROR);
}

States AlgoGestureState::FailWith(const LogSite& site, const char* errorMessage)
{
    QUIL_LOG(LOG_LEVEL_ERROR, site.tag, site.op, "%{public}s", errorMessage);
    ClearStore();
    return Transit(site, STATE_ERROR);
}

States AlgoGestureState::RestartFromFirstFinger(const LogSite& site, const PointerEvent& event)
{
    ClearStore();
    StoreEvent(event, event.pointerAction);
    return Transit(site, STATE_ONE_FINGER_DOWN);
}

States AlgoGestureState::HandleLoneFingerDown(const LogSite& site, const PointerEvent& event)
{
    return event.pointerId == 0 ? RestartFromFirstFinger(site, event) : FailWrongInput(site, event);
}

States AlgoGestureState::AddFinger(const LogSite& site, const PointerEvent& event, States next,
                                   bool refreshFirst)
{
    if ((refreshFirst && !RefreshDownEvent()) || HasRecord(event.pointerId, event.pointerAction)) {
        return FailWith(site, "MAP store error,store wrong DownEvent");
    }
    StoreEvent(event);
    return Transit(site, next);
}

int AlgoGestureState::FingerTravel(const LogSite& site, int32_t pointerId,
                                   const char* missingMessage)
{
    if (!HasRecord(pointerId, POINTER_ACTION_DOWN)) {
        QUIL_LOG(LOG_LEVEL_ERROR, site.tag, site.op, "%{public}s", missingMessage);
        ClearStore();
    }
    // Looked up with insertion, deliberately: a missing record reads as one at (0, 0)
    // and stays (at most this finger's two records), and the travel measured from it
    // decides the state's next step.
    const PointerEvent& move = pointerEvents_[PointerKey{pointerId, POINTER_ACTION_MOVE}];
    const PointerEvent& down = pointerEvents_[PointerKey{pointerId, POINTER_ACTION_DOWN}];
    return GetDistance(move, down);
}

bool AlgoGestureState::HasRecord(int32_t pointerId, int32_t pointerAction) const
{
    return pointerEvents_.count(PointerKey{pointerId, pointerAction}) != 0;
}

void AlgoGestureState::StoreEvent(const PointerEvent& event, int32_t pointerAction)
{
    const PointerKey key{event.pointerId, pointerAction};
    auto it = pointerEvents_.find(key);
    if (it != pointerEvents_.end()) {
        it->second = event;
        return;
    }
    // A screen has a handful of fingers, each with a down and a move record; a stream of
    // ever-new ids must not grow the store without bound.
    if (pointerEvents_.size() >= kMaxStoredRecords) {
        MLOGE("MAP store error,store is full");
        return;
    }
    pointerEvents_.emplace(key, event);
}

PointerRecords AlgoGestureState::CollectRecords() const
{
    PointerRecords records;
    records.reserve(pointerEvents_.size());
    for (const auto& entry : pointerEvents_) {
        records.push_back(entry.second);
    }
    return records;
}

PointerRecords AlgoGestureState::CollectRecords(int32_t pointerAction) const
{
    PointerRecords records;
    for (const auto& [key, event] : pointerEvents_) {
        if (key.pointerAction == pointerAction) {
            records.push_back(event);
        }
    }
    return records;
}

}  // namespace Tarvo::Quil
