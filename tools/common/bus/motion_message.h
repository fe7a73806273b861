// A Motion signal's arguments in the one order the interface gives them:
// (i type, i result, i status, i action, i direction, i rotateAction, d move).
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include "motion_data.h"

namespace Tarvo::Tools::Bus {

class MotionMessage {
public:
    static void Write(sdbus::Message& message, const Quil::MotionData& data);
    // False when the message does not hold exactly these arguments.
    static bool Read(sdbus::Message& message, Quil::MotionData& data);
};

}  // namespace Tarvo::Tools::Bus
