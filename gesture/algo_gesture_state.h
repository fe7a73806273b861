// Base of the twelve touch-gesture states, with what they all share: the pointer store
// that travels from state to state, the process-wide gesture report and its callback,
// the geometry functions, and the handful of handler steps every state repeats.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "gesture_report.h"
#include "i_motion_algo.h"
#include "motion_data.h"
#include "platform_log.h"
#include "pointer_event.h"
#include "pointer_store.h"

namespace Tarvo::Quil {

// The values are logged and index the state factory: do not renumber.
enum States : int32_t {
    STATE_IDLE = 0,
    STATE_ONE_FINGER_DOWN = 1,
    STATE_ONE_FINGER_MOVE = 2,
    STATE_SWIPE = 3,
    STATE_TWO_FINGERS_DOWN = 4,
    STATE_TWO_FINGERS_MOVE = 5,
    STATE_PINCH = 6,
    STATE_THREE_FINGERS_DOWN = 7,
    STATE_THREE_FINGERS_MOVE = 8,
    STATE_SLIDE = 9,
    STATE_END = 10,
    STATE_ERROR = 11,
};

// "STATE_IDLE" ... "STATE_ERROR"; "STATE_UNKNOWN" outside 0..11.
const char* StateName(States state);

// What one state hands to the next.
struct PointerData {
    int32_t distance = 0;  // pixels
    int32_t angle = 0;     // whole degrees, 0..90
    PointerStore pointerEvents;
};

// Copies of store records: a down and a move record for each of 16 fingers, plus the
// two that a travel measurement may add, fit inline.
using PointerRecords = SmallVector<PointerEvent, 34>;

class AlgoGestureState {
public:
    AlgoGestureState() = default;
    virtual ~AlgoGestureState() = default;

    virtual States HandleDownEvent(const PointerEvent& event);
    virtual States HandleMoveEvent(const PointerEvent& event);
    virtual States HandleUpEvent(const PointerEvent& event);

    // Dispatches on the pointer action; unknown actions lead to STATE_ERROR.
    States HandlePointerEvent(const PointerEvent& event);
    void In(const PointerData& data);
    PointerData Out() const;
    // Makes each finger's move record its new down record; false if a move record has
    // no down record.
    bool RefreshDownEvent();
    // Hands reportInfo_ to the host unless it is an in-progress (status 2) report.
    void Report();
    // Sends the finishing report (result 2, status 3), then resets the record.
    void ReportFinishInfo();
    // Clears everything but `type`.
    void ResetReportInfo();
    void SetCurrentState(const States& state);
    States GetCurrentState() const;
    void RegisterCallback(std::shared_ptr<IMotionAlgo::Callback> callback);

    // Geometry shared by the states; elements 0 and 1 of `events` only. Safe for any
    // coordinates: differences are taken in 64 bits and results saturate to int32.
    static int GetDistance(const PointerRecords& events);  // pixels, truncated
    static int GetAngle(const PointerRecords& events);     // degrees, 0..90
    static int GetDistance(const PointerEvent& a, const PointerEvent& b);
    static int GetAngle(const PointerEvent& a, const PointerEvent& b);
    static double GetScale(int a, int b);

    // The process-wide gesture report and its target (tests inspect them).
    static const MotionData& GetReportInfo() { return reportInfo_; }

protected:
    // States are copied only as a whole, by their own class: the state manager renews a
    // reused object by assigning it a new one.
    AlgoGestureState(const AlgoGestureState&) = default;
    AlgoGestureState(AlgoGestureState&&) = default;
    AlgoGestureState& operator=(const AlgoGestureState&) = default;
    AlgoGestureState& operator=(AlgoGestureState&&) = default;

    // Where a handler's log lines come from: the state class's tag and the handler.
    struct LogSite {
        const char* tag;
        const char* op;
    };

    static size_t FingerCount(const PointerEvent& event) { return event.pointerIds.size(); }

    // "Current state:FROM,next state:TO" at `level` (debug unless a state says otherwise).
    void LogTransition(const LogSite& site, States from, States to,
                       PlatformLogLevel level = LOG_LEVEL_DEBUG) const;
    // The same line with this state as FROM; returns `to`.
    States Transit(const LogSite& site, States to) const;
    // "The wrong input data,pointerId:%d,pointerAction:%d" at error level.
    void LogWrongInput(const LogSite& site, const PointerEvent& event) const;
    // The common way out on input that fits no gesture: the wrong-input line, an empty
    // store, the transition line to STATE_ERROR.
    States FailWrongInput(const LogSite& site, const PointerEvent& event);
    // The same with an error line of its own (e.g. "MAP store error,store wrong
    // DownEvent") in place of the wrong-input line.
    States FailWith(const LogSite& site, const char* errorMessage);
    // A lone finger 0 down restarts the gesture: the store holds just this event,
    // under (0, its action); logs the transition to STATE_ONE_FINGER_DOWN.
    States RestartFromFirstFinger(const LogSite& site, const PointerEvent& event);

    // A down event listing one finger: finger 0 restarts the gesture, any other is
    // wrong input.
    States HandleLoneFingerDown(const LogSite& site, const PointerEvent& event);
    // A further finger comes down: (optionally) each finger's move record becomes its
    // down record, the new finger's down record is stored and the machine goes to
    // `next`; a failed fold or a finger already down is "store wrong DownEvent".
    States AddFinger(const LogSite& site, const PointerEvent& event, States next,
                     bool refreshFirst);
    // How far finger `pointerId` has moved: from its down record to its move record.
    // Without a down record, `missingMessage` is logged and the store cleared; the
    // missing records then count as (0, 0).
    int FingerTravel(const LogSite& site, int32_t pointerId, const char* missingMessage);

    bool HasRecord(int32_t pointerId, int32_t pointerAction) const;
    // Stores `event` under (its pointerId, `pointerAction`), overwriting a record there.
    void StoreEvent(const PointerEvent& event, int32_t pointerAction);
    // Stores `event` under its own key (pointerId, pointerAction).
    void StoreEvent(const PointerEvent& event) { StoreEvent(event, event.pointerAction); }
    void ClearStore() { pointerEvents_.clear(); }
    // Copies of all records in key order.
    PointerRecords CollectRecords() const;
    // Copies of the records whose KEY action is `pointerAction`, in key order.
    PointerRecords CollectRecords(int32_t pointerAction) const;

    int32_t distance = 0;  // pixels, measured when the gesture's fingers came down
    int32_t angle = 0;     // whole degrees
    PointerStore pointerEvents_;
    States state_ = STATE_IDLE;

    static MotionData reportInfo_;
    static std::shared_ptr<IMotionAlgo::Callback> callbackImpl_;
};

}  // namespace Tarvo::Quil
