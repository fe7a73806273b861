// Feeds every pointer record through the gesture state machine. It lives beside the
// touch channel but is a layer of its own above gesture/: the channel below it knows
// nothing of the machine.
#pragma once

#include <memory>

#include "algo_state_manager.h"
#include "i_motion_algo.h"
#include "pointer_input_connection.h"

namespace Tarvo::Quil {

class AlgoGestureManager {
public:
    explicit AlgoGestureManager(std::shared_ptr<PointerInputConnection> pointer);

    void SubscribeEvent();
    void GetPointerInfo(PointerEvent event);
    int UnSubscribeEvent();
    void RegisterCallback(std::shared_ptr<IMotionAlgo::Callback> callback);

private:
    void EnsureStateManager();
    // One record through the machine: the current state's verdict, then the transition.
    static void Feed(AlgoStateManager& stateManager, const PointerEvent& event);

    std::shared_ptr<PointerInputConnection> pointer_;
    std::shared_ptr<AlgoStateManager> stateManager_;
};

}  // namespace Tarvo::Quil
