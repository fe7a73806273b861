#include "motion_message.h"

namespace Tarvo::Tools::Bus {
namespace {

// The type code of the next argument; 0 at the end of the message.
char NextType(sdbus::Message& message)
{
    std::string type;
    std::string contents;
    message.peekType(type, contents);
    return type.empty() ? '\0' : type[0];
}

}  // namespace

void MotionMessage::Write(sdbus::Message& message, const Quil::MotionData& data)
{
    message << data.type << data.result << data.status << data.action << data.direction
            << data.rotateAction << data.move;
}

bool MotionMessage::Read(sdbus::Message& message, Quil::MotionData& data)
{
    // Anyone on the bus may send a signal of this name: its arguments are checked one by
    // one, so a mismatch is a false, not an exception.
    Quil::MotionData read;
    for (int32_t* field : {&read.type, &read.result, &read.status, &read.action, &read.direction,
                           &read.rotateAction}) {
        if (NextType(message) != 'i') {
            return false;
        }
        message >> *field;
    }
    if (NextType(message) != 'd') {
        return false;
    }
    message >> read.move;
    if (NextType(message) != '\0') {
        return false;
    }
    data = read;
    return true;
}

}  // namespace Tarvo::Tools::Bus
