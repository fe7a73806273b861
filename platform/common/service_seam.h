// The seam the library calls, written once for every platform layer: the sensor
// service client's calls, the input manager's and the platform log's are forwarded to
// the services of the layer linked in, which implements these three interfaces and the
// three functions below. (Thread support differs from layer to layer; each defines it.)
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "input_manager.h"
#include "sensor_service_client.h"

namespace Tarvo::Platform {

class SensorService {
public:
    virtual ~SensorService() = default;
    virtual int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count) = 0;
    virtual int32_t Subscribe(int32_t sensorTypeId, const SensorUser* user) = 0;
    virtual int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval,
                             int64_t reportInterval) = 0;
    virtual int32_t Activate(int32_t sensorTypeId, const SensorUser* user) = 0;
    virtual int32_t Deactivate(int32_t sensorTypeId, const SensorUser* user) = 0;
    virtual int32_t Unsubscribe(int32_t sensorTypeId, const SensorUser* user) = 0;
};

class InputService {
public:
    virtual ~InputService() = default;
    virtual int32_t AddMonitor(MMI::PointerMonitor monitor) = 0;
    // After it returns, the monitor is not running and will not be called again.
    virtual void RemoveMonitor(int32_t monitorId) = 0;
};

// The platform log: a level filter every layer keeps the same way (the library asks it
// before every debug line, so it is one load and a compare), and the layer's own output.
class LogService {
public:
    static constexpr int kOff = 8;  // above fatal: nothing passes

    virtual ~LogService() = default;
    bool IsLoggable(int level) const { return level >= level_.load(std::memory_order_relaxed); }
    void SetLevel(int level) { level_.store(level, std::memory_order_relaxed); }
    // One line of the library's; `fmt` may carry privacy flags (log_format.h).
    virtual void Print(int level, unsigned int domain, const char* tag, const char* fmt,
                       va_list args) = 0;

protected:
    int Level() const { return level_.load(std::memory_order_relaxed); }

private:
    std::atomic<int> level_{kOff};
};

// The platform layer's services, defined by the layer; each lives as long as the process.
SensorService& TheSensorService();
InputService& TheInputService();
LogService& TheLogService();

}  // namespace Tarvo::Platform
