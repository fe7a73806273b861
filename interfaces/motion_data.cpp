#include "motion_data.h"

namespace Tarvo::Quil {

std::string MotionData::Dump() const
{
    return "type:" + std::to_string(type) + " result:" + std::to_string(result) +
           " status:" + std::to_string(status) + " action:" + std::to_string(action) +
           " direction:" + std::to_string(direction) +
           " rotateAction:" + std::to_string(rotateAction) + " move:" + std::to_string(move);
}

}  // namespace Tarvo::Quil
