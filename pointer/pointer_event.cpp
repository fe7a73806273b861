#include "pointer_event.h"

namespace Tarvo::Quil {

std::string PointerEvent::Dump() const
{
    return "pointerId:" + std::to_string(pointerId) +
           " pointerAction:" + std::to_string(pointerAction) + " x:" + std::to_string(x) +
           " y:" + std::to_string(y) + " size:" + std::to_string(pointerIds.size());
}

}  // namespace Tarvo::Quil
