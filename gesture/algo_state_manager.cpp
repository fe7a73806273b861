#include "algo_state_manager.h"

#include "algo_end_state.h"
#include "algo_error_state.h"
#include "algo_idle_state.h"
#include "algo_one_finger_down_state.h"
#include "algo_one_finger_move_state.h"
#include "algo_pinch_state.h"
#include "algo_slide_state.h"
#include "algo_swipe_state.h"
#include "algo_three_fingers_down_state.h"
#include "algo_three_fingers_move_state.h"
#include "algo_two_fingers_down_state.h"
#include "algo_two_fingers_move_state.h"
#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoStateManager";
#ifdef QUIL_FRESH_GESTURE_STATES
constexpr StateObjects kBuildStateObjects = StateObjects::FRESH;
#else
constexpr StateObjects kBuildStateObjects = StateObjects::REUSED;
#endif
}  // namespace

AlgoStateManager::AlgoStateManager() : AlgoStateManager(kBuildStateObjects)
{
}

AlgoStateManager::AlgoStateManager(StateObjects objects) : objects_(objects)
{
    // Logged under the factory's name, as the machine's first state is made here.
    QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "CreateState", "AlgoStateManager enter");
    if (objects_ == StateObjects::REUSED) {
        for (size_t index = 0; index < kStateCount; ++index) {
            slots_[index] = MakeSlot(static_cast<States>(index));
        }
        currentState_ = slots_[STATE_IDLE].object;
    } else {
        currentState_ = MakeSlot(STATE_IDLE).object;
    }
    currentState_->SetCurrentState(STATE_IDLE);
}

bool AlgoStateManager::AnnounceState(States state)
{
    QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "CreateState", "AlgoStateManager enter");
    if (state < 0 || static_cast<size_t>(state) >= kStateCount) {
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, "CreateState", "Unknown state");
        return false;
    }
    return true;
}

AlgoStateManager::StateSlot AlgoStateManager::MakeSlot(States state)
{
    switch (state) {
        case STATE_IDLE:
            return MakeSlotOf<AlgoIdleState>();
        case STATE_ONE_FINGER_DOWN:
            return MakeSlotOf<AlgoOneFingerDownState>();
        case STATE_ONE_FINGER_MOVE:
            return MakeSlotOf<AlgoOneFingerMoveState>();
        case STATE_SWIPE:
            return MakeSlotOf<AlgoSwipeState>();
        case STATE_TWO_FINGERS_DOWN:
            return MakeSlotOf<AlgoTwoFingersDownState>();
        case STATE_TWO_FINGERS_MOVE:
            return MakeSlotOf<AlgoTwoFingersMoveState>();
        case STATE_PINCH:
            return MakeSlotOf<AlgoPinchState>();
        case STATE_THREE_FINGERS_DOWN:
            return MakeSlotOf<AlgoThreeFingersDownState>();
        case STATE_THREE_FINGERS_MOVE:
            return MakeSlotOf<AlgoThreeFingersMoveState>();
        case STATE_SLIDE:
            return MakeSlotOf<AlgoSlideState>();
        case STATE_END:
            return MakeSlotOf<AlgoEndState>();
        case STATE_ERROR:
            return MakeSlotOf<AlgoErrorState>();
    }
    return StateSlot{};
}

std::shared_ptr<AlgoGestureState> AlgoStateManager::EnterState(States next)
{
    if (objects_ == StateObjects::FRESH) {
        return MakeSlot(next).object;
    }
    // Never the current object: a transition to the current state keeps it instead.
    StateSlot& slot = slots_[next];
    slot.renew(*slot.object);
    return slot.object;
}

void AlgoStateManager::RegisterCallback(std::shared_ptr<IMotionAlgo::Callback> callback)
{
    MLOGD("AlgoStateManager enter");
    // The callback is a static of the state base, so any state object can set it.
    if (currentState_ != nullptr) {
        currentState_->RegisterCallback(std::move(callback));
    } else {
        AlgoIdleState().RegisterCallback(std::move(callback));
    }
}

States AlgoStateManager::EnableHandle(const PointerEvent& event)
{
    MLOGD("AlgoStateManager enter");
    // Only a transition to a state outside 0..11 leaves no current state; start over
    // from idle rather than dereference nothing.
    if (currentState_ == nullptr) {
        MLOGE("currentState_ is nullptr");
        return STATE_IDLE;
    }
    return currentState_->HandlePointerEvent(event);
}

void AlgoStateManager::TransformState(States next)
{
    MLOGD("AlgoStateManager enter");
    if (currentState_ != nullptr && currentState_->GetCurrentState() == next) {
        // The same object, with its store, keeps handling events.
        return;
    }
    PointerData data = currentState_ != nullptr ? currentState_->Out() : PointerData{};
    lastState_ = std::move(currentState_);
    if (!AnnounceState(next)) {
        MLOGE("currentState_ is nullptr");
        return;
    }
    currentState_ = EnterState(next);
    currentState_->SetCurrentState(next);
    currentState_->In(data);
}

}  // namespace Tarvo::Quil
