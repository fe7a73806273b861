// The control API, and the platform seam's functions implemented on the host services.
#include "host_platform.h"

#include <pthread.h>

#include <algorithm>
#include <cstdio>

#include "host_input_service.h"
#include "host_log.h"
#include "host_sensor_service.h"
#include "input_manager.h"
#include "log_format.h"
#include "sensor_service_client.h"
#include "thread_support.h"
#include "wake_batch.h"
#include "worker_tracker.h"

namespace Tarvo::Host {
namespace {

constexpr std::pair<SensorCall, const char*> kCallNames[] = {
    {SensorCall::GET_ALL_SENSORS, "GetAllSensors"},
    {SensorCall::SUBSCRIBE_SENSOR, "SubscribeSensor"},
    {SensorCall::SET_BATCH, "SetBatch"},
    {SensorCall::ACTIVATE_SENSOR, "ActivateSensor"},
    {SensorCall::DEACTIVATE_SENSOR, "DeactivateSensor"},
    {SensorCall::UNSUBSCRIBE_SENSOR, "UnsubscribeSensor"},
};

std::atomic<bool> gThreadNamingFails{false};

std::shared_ptr<MMI::PointerEvent> MakeTouch(int32_t action, int32_t pointerId,
                                             const std::vector<int32_t>& pointerIds)
{
    auto event = std::make_shared<MMI::PointerEvent>();
    event->SetPointerAction(action);
    event->SetPointerId(pointerId);
    event->SetPointerIds(pointerIds);
    return event;
}

}  // namespace

std::optional<SensorCall> SensorCallFromName(const std::string& name)
{
    for (const auto& [call, callName] : kCallNames) {
        if (name == callName) {
            return call;
        }
    }
    return std::nullopt;
}

const char* SensorCallName(SensorCall call)
{
    for (const auto& [candidate, callName] : kCallNames) {
        if (candidate == call) {
            return callName;
        }
    }
    return "?";
}

std::string FormatLogLine(const LogLine& line)
{
    return PlatformLog::FormatLine(line.level, line.domain, line.tag, line.message);
}

void HostPlatform::Reset()
{
    WaitIdle();
    HostSensorService::Instance().Reset();
    HostInputService::Instance().Reset();
    HostLog::Instance().SetLevel(HostLog::kOff);
    HostLog::Instance().SetSink({});
    SetInlineDelivery(false);
    SetWakeBatch(0);
    SetWaitSpin(0);
    gThreadNamingFails = false;
}

void HostPlatform::SetDeviceSensors(const std::vector<int32_t>& sensorTypeIds)
{
    HostSensorService::Instance().SetDeviceSensors(sensorTypeIds);
}

void HostPlatform::Fail(SensorCall call, std::optional<int32_t> sensorTypeId)
{
    HostSensorService::Instance().Fail(call, sensorTypeId);
}

void HostPlatform::Heal(SensorCall call, std::optional<int32_t> sensorTypeId)
{
    HostSensorService::Instance().Heal(call, sensorTypeId);
}

void HostPlatform::InjectSample(int32_t sensorTypeId, const std::vector<float>& values,
                                int64_t timestampNs)
{
    HostSensorService::Instance().InjectSample(sensorTypeId, values, timestampNs);
}

void HostPlatform::SetInlineDelivery(bool on)
{
    HostSensorService::Instance().SetInlineDelivery(on);
    HostInputService::Instance().SetInlineDelivery(on);
}

void HostPlatform::SetWakeBatch(size_t posts)
{
    WakeBatch::SetSize(posts);
}

void HostPlatform::InjectNullEvent()
{
    HostSensorService::Instance().InjectNullEvent();
}

SubscriptionState HostPlatform::GetSubscription(const void* user, int32_t sensorTypeId)
{
    return HostSensorService::Instance().GetSubscription(user, sensorTypeId);
}

int HostPlatform::ActiveSubscriberCount(int32_t sensorTypeId)
{
    return HostSensorService::Instance().ActiveSubscriberCount(sensorTypeId);
}

int HostPlatform::SubscriptionCount()
{
    return HostSensorService::Instance().SubscriptionCount();
}

void HostPlatform::SetMonitorId(int32_t monitorId)
{
    HostInputService::Instance().SetMonitorId(monitorId);
}

void HostPlatform::InjectTouch(int32_t action, int32_t pointerId, int32_t x, int32_t y,
                               const std::vector<int32_t>& pointerIds)
{
    auto event = MakeTouch(action, pointerId, pointerIds);
    MMI::PointerEvent::PointerItem item;
    item.SetPointerId(pointerId);
    item.SetDisplayX(x);
    item.SetDisplayY(y);
    event->AddPointerItem(item);
    HostInputService::Instance().Inject(std::move(event));
}

void HostPlatform::InjectTouchNoItem(int32_t action, int32_t pointerId,
                                     const std::vector<int32_t>& pointerIds)
{
    HostInputService::Instance().Inject(MakeTouch(action, pointerId, pointerIds));
}

int HostPlatform::InstalledMonitorCount()
{
    return HostInputService::Instance().InstalledMonitorCount();
}

void HostPlatform::SetLogLevel(int level)
{
    HostLog::Instance().SetLevel(level);
}

void HostPlatform::SetLogSink(std::function<void(const LogLine&)> sink)
{
    HostLog::Instance().SetSink(std::move(sink));
}

void HostPlatform::SetThreadNamingFails(bool fails)
{
    gThreadNamingFails = fails;
}

bool HostPlatform::WaitIdle(int timeoutMs)
{
    WakeBatch::Release();  // what this thread holds back would never be taken
    return WorkerTracker::Instance().WaitIdle(timeoutMs);
}

int64_t HostPlatform::OutstandingWork()
{
    return WorkerTracker::Instance().Outstanding();
}

void HostPlatform::SetWaitSpin(int microseconds)
{
    WorkerTracker::Instance().SetWaitSpin(std::max(microseconds, 0));
}

void HostPlatform::SetDeliveryHook(void (*hook)())
{
    WorkerTracker::Instance().SetDeliveryHook(hook);
}

}  // namespace Tarvo::Host

// ---- the platform seam -------------------------------------------------------------

using Tarvo::Host::HostLog;
using Tarvo::Host::WorkerTracker;

namespace Tarvo::Platform {

SensorService& TheSensorService()
{
    return Host::HostSensorService::Instance();
}

InputService& TheInputService()
{
    return Host::HostInputService::Instance();
}

LogService& TheLogService()
{
    return HostLog::Instance();
}

}  // namespace Tarvo::Platform

namespace Tarvo {

bool SetThreadName(const std::string& name)
{
    if (Host::gThreadNamingFails) {
        return false;
    }
    return pthread_setname_np(pthread_self(), name.substr(0, 15).c_str()) == 0;
}

int SemInit(sem_t* sem, int pshared, unsigned int value)
{
    WorkerTracker::Instance().OnSemInit(sem);
    return sem_init(sem, pshared, value);
}

int SemWait(sem_t* sem)
{
    if (WorkerTracker::Instance().OnSemWait(sem)) {
        return 0;  // a post let go by a wake batch
    }
    return sem_wait(sem);
}

int SemPost(sem_t* sem)
{
    // Counted before the post, so the waiter can never be seen ahead of it; a post held
    // back is still outstanding work.
    WorkerTracker::Instance().OnSemPost(sem);
    if (Host::WakeBatch::Hold(sem)) {
        return 0;
    }
    return sem_post(sem);
}

int SemDestroy(sem_t* sem)
{
    WorkerTracker::Instance().OnSemDestroy(sem);
    return sem_destroy(sem);
}

}  // namespace Tarvo
