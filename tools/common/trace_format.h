// What a trace may hold, for the programs that write traces and the one that plays them.
#pragma once

#include <array>
#include <string_view>

namespace Tarvo::Tools {

// The sensor service calls that `fail` and `heal` records name, in the order of
// kServiceCallNames.
enum class ServiceCall {
    GET_ALL_SENSORS,
    SUBSCRIBE_SENSOR,
    SET_BATCH,
    ACTIVATE_SENSOR,
    DEACTIVATE_SENSOR,
    UNSUBSCRIBE_SENSOR,
};
inline constexpr std::array<std::string_view, 6> kServiceCallNames = {
    "GetAllSensors",  "SubscribeSensor",  "SetBatch",
    "ActivateSensor", "DeactivateSensor", "UnsubscribeSensor"};

// Time stamps run from 0 to this many milliseconds: larger ones could not be turned
// into nanoseconds or a pacing delay.
inline constexpr double kMaxStampMs = 1e12;

}  // namespace Tarvo::Tools
