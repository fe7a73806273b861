#include "service_seam.h"

#include "platform_log.h"

using Tarvo::Platform::LogService;
using Tarvo::Platform::TheInputService;
using Tarvo::Platform::TheLogService;
using Tarvo::Platform::TheSensorService;

extern "C" {

int PlatformLogPrint(PlatformLogType /*type*/, PlatformLogLevel level, unsigned int domain,
                     const char* tag, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    TheLogService().Print(level, domain, tag, fmt, args);
    va_end(args);
    return 0;
}

bool PlatformLogIsLoggable(unsigned int /*domain*/, const char* /*tag*/, PlatformLogLevel level)
{
    // Asked before every debug line of the library: kept to one load and a compare.
    static const LogService& log = TheLogService();
    return log.IsLoggable(level);
}

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
