// Placeholder until the state is implemented: behaves as the base (returns STATE_IDLE).
#pragma once

#include "algo_gesture_state.h"

namespace Tarvo::Quil {

class AlgoThreeFingersDownState : public AlgoGestureState {};

}  // namespace Tarvo::Quil
