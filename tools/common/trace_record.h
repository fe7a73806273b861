// One parsed line of a trace.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "trace_format.h"

namespace Tarvo::Tools {

enum class RecordKind {
    ENABLE,
    DISABLE,
    DISABLE_COUNT,
    SUPPORTED,
    IDLE,
    REGISTER,
    UNREGISTER,
    SAMPLE,  // acc, light, prox, sensor
    NULL_EVENT,
    TOUCH,
    TOUCH_NO_ITEM,
    DEVICE_SENSORS,
    FAIL,
    HEAL,
    MONITOR_ID,
    HOST_RETURN,
};

struct TraceRecord {
    RecordKind kind = RecordKind::IDLE;
    std::string file;
    int line = 0;
    std::optional<double> stamp;  // ms from the start of the trace

    int32_t value = 0;          // host-call argument, sensor type id, monitor id, host return
    std::vector<float> floats;  // sample payload
    int32_t action = 0;         // touch
    int32_t pointerId = 0;
    int32_t x = 0;
    int32_t y = 0;
    std::vector<int32_t> ids;  // pointer ids, device sensor list
    ServiceCall call = ServiceCall::GET_ALL_SENSORS;
    std::optional<int32_t> callSensor;  // fail / heal
};

// Where a replay takes its records from, one at a time.
class RecordSource {
public:
    virtual ~RecordSource() = default;
    // The next record; false at the end (`error` empty) or on a failure (`error` set).
    virtual bool Next(TraceRecord& record, std::string& error) = 0;
};

}  // namespace Tarvo::Tools
