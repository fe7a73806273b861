#include "algo_gesture_manager.h"

#include "motion_log.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoGestureManager";
}  // namespace

AlgoGestureManager::AlgoGestureManager(std::shared_ptr<PointerInputConnection> pointer)
    : pointer_(std::move(pointer))
{
}

void AlgoGestureManager::SubscribeEvent()
{
    MLOGD("enter");
    EnsureStateManager();
    if (pointer_ == nullptr) {
        return;
    }
    // The subscriber holds the state machine itself, not this manager: the pointer
    // worker may still be handing over a record while the manager goes away.
    pointer_->SubscribePointerEvent([stateManager = stateManager_](PointerEvent event) {
        if (PlatformLogIsLoggable(kMotionLogDomain, kLogTag, LOG_LEVEL_DEBUG)) {
            QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "operator()", "%{public}s", event.Dump().c_str());
        }
        Feed(*stateManager, event);
    });
}

void AlgoGestureManager::GetPointerInfo(PointerEvent event)
{
    EnsureStateManager();
    Feed(*stateManager_, event);
}

void AlgoGestureManager::Feed(AlgoStateManager& stateManager, const PointerEvent& event)
{
    QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "GetPointerInfo", "enter");
    const States next = stateManager.EnableHandle(event);
    QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "GetPointerInfo", "next state:%{public}d", next);
    stateManager.TransformState(next);
}

int AlgoGestureManager::UnSubscribeEvent()
{
    return pointer_ != nullptr ? pointer_->UnsubscribePointerEvent() : 0;
}

void AlgoGestureManager::RegisterCallback(std::shared_ptr<IMotionAlgo::Callback> callback)
{
    MLOGD("enter");
    EnsureStateManager();
    stateManager_->RegisterCallback(std::move(callback));
}

void AlgoGestureManager::EnsureStateManager()
{
    if (stateManager_ == nullptr) {
        stateManager_ = std::make_shared<AlgoStateManager>();
    }
}

}  // namespace Tarvo::Quil
