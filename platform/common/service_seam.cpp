#include "service_seam.h"

using Tarvo::Platform::TheInputService;
using Tarvo::Platform::TheSensorService;

extern "C" {

int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count)
{
    return TheSensorService().GetAllSensors(sensorInfo, count);
}

int32_t SubscribeSensor(int32_t sensorTypeId, const SensorUser* user)
{
    return TheSensorService().Subscribe(sensorTypeId, user);
}

int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval,
                 int64_t reportInterval)
{
    return TheSensorService().SetBatch(sensorTypeId, user, samplingInterval, reportInterval);
}

int32_t ActivateSensor(int32_t sensorTypeId, const SensorUser* user)
{
    return TheSensorService().Activate(sensorTypeId, user);
}

int32_t DeactivateSensor(int32_t sensorTypeId, const SensorUser* user)
{
    return TheSensorService().Deactivate(sensorTypeId, user);
}

int32_t UnsubscribeSensor(int32_t sensorTypeId, const SensorUser* user)
{
    return TheSensorService().Unsubscribe(sensorTypeId, user);
}

}  // extern "C"

namespace MMI {

InputManager* InputManager::GetInstance()
{
    static InputManager* instance = new InputManager;
    return instance;
}

int32_t InputManager::AddMonitor(PointerMonitor monitor)
{
    return TheInputService().AddMonitor(std::move(monitor));
}

void InputManager::RemoveMonitor(int32_t monitorId)
{
    TheInputService().RemoveMonitor(monitorId);
}

}  // namespace MMI
