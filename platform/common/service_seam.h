// The seam the library calls, written once for every platform layer: the sensor
// service client's calls and the input manager's are forwarded to the services of the
// layer linked in, which implements these two interfaces and the two functions below.
// (The log and thread support differ from layer to layer; each layer defines them.)
#pragma once

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

// The platform layer's services, defined by the layer.
SensorService& TheSensorService();
InputService& TheInputService();

}  // namespace Tarvo::Platform
