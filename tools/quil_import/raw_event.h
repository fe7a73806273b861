// One evdev event as a recording holds it, and the callbacks readers deliver through.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Tarvo::Import {

struct RawEvent {
    uint16_t type = 0;
    uint16_t code = 0;
    int32_t value = 0;
    int64_t timeUs = 0;
    int line = 0;  // in the recording, for messages
};

// An ABS axis as a recording describes it.
struct RawAxis {
    uint16_t code = 0;
    int32_t min = 0;
    int32_t max = 0;
    int32_t resolution = 0;  // units per millimetre; 0 where the recording does not say
};

// `device` names the input device where a recording holds several ("" otherwise).
using AxisSink = std::function<void(const std::string& device, const RawAxis& axis)>;
using EventSink = std::function<void(const std::string& device, const RawEvent& event)>;

// "12.345678" (seconds.microseconds) to microseconds; false when malformed.
bool ParseEventTime(const std::string& text, int64_t& us);

}  // namespace Tarvo::Import
