// The report record handed to the host for every recognised motion or gesture.
#pragma once

#include <cstdint>
#include <string>

namespace Tarvo::Quil {

struct MotionData {
    int32_t type = -1;
    int32_t result = -1;
    int32_t status = -1;
    int32_t action = -1;
    int32_t direction = -1;
    int32_t rotateAction = -1;
    double move = 0.0;

    // "type:3 result:1 status:-1 action:-1 direction:-1 rotateAction:-1 move:0.000000"
    std::string Dump() const;
};

}  // namespace Tarvo::Quil
