// Owns the current gesture state and replaces it when a handler decides on another.
#pragma once

#include <array>
#include <memory>

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoStateManager {
public:
    AlgoStateManager();

    // A new state object for `state`, empty store; null (and an error line) outside 0..11.
    std::shared_ptr<AlgoGestureState> CreateState(States state);
    void RegisterCallback(std::shared_ptr<IMotionAlgo::Callback> callback);
    // The current state's verdict on `event`.
    States EnableHandle(const PointerEvent& event);
    // Moves to `next`, handing the store, distance and angle over; nothing when `next`
    // is already current.
    void TransformState(States next);

    // For observers and tests: the current state object (null only after a failed
    // transition).
    std::shared_ptr<const AlgoGestureState> GetCurrentState() const { return currentState_; }

private:
    static constexpr size_t kStateCount = STATE_ERROR + 1;

    // The object for `state` without the factory's log lines; null outside 0..11.
    static std::shared_ptr<AlgoGestureState> MakeState(States state);
    // The factory's log lines for `state` (an error outside 0..11); whether it is one.
    static bool AnnounceState(States state);

    // One object per state, made up front and emptied on every entry: a transition
    // happens several times per gesture and must not allocate.
    std::array<std::shared_ptr<AlgoGestureState>, kStateCount> states_;
    std::shared_ptr<AlgoGestureState> currentState_;
    std::shared_ptr<AlgoGestureState> lastState_;
};

}  // namespace Tarvo::Quil
