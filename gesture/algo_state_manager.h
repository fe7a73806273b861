// Owns the current gesture state and replaces it when a handler decides on another.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

// Where a transition gets the object of the state it enters. Both give the same machine:
// a reused object is renewed, on entry, to exactly what a new one holds.
enum class StateObjects : uint8_t {
    REUSED,  // one object per state, made up front: a transition does not allocate
    FRESH,   // a new object per transition: the plain path, kept to check REUSED against
};

class AlgoStateManager {
public:
    // The build's default: REUSED, or FRESH where algo_state_manager.cpp itself is built
    // with QUIL_FRESH_GESTURE_STATES (the test suite's second plug-in). Decided in that one
    // file, so no other file's build can pick the other default.
    AlgoStateManager();
    explicit AlgoStateManager(StateObjects objects);

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

    // A state object with the way to make it new again in place.
    struct StateSlot {
        std::shared_ptr<AlgoGestureState> object;
        void (*renew)(AlgoGestureState& object) = nullptr;
    };
    // Renewal assigns a newly constructed object of the state's own class, so every
    // member, of the base or of the state, is whatever its constructor makes it.
    template <typename State>
    static StateSlot MakeSlotOf()
    {
        return StateSlot{std::make_shared<State>(),
                         [](AlgoGestureState& object) { static_cast<State&>(object) = State(); }};
    }
    // The slot for `state` without the factory's log lines; empty outside 0..11.
    static StateSlot MakeSlot(States state);
    // The factory's log lines for `state` (an error outside 0..11); whether it is one.
    static bool AnnounceState(States state);
    // The object that `next` (within 0..11) starts with: renewed or new.
    std::shared_ptr<AlgoGestureState> EnterState(States next);

    StateObjects objects_;
    // REUSED: one object per state, made up front; a transition happens several times
    // per gesture and must not allocate.
    std::array<StateSlot, kStateCount> slots_;
    std::shared_ptr<AlgoGestureState> currentState_;
    std::shared_ptr<AlgoGestureState> lastState_;
};

}  // namespace Tarvo::Quil
