// The control API, and the platform seam's functions served from the Linux device.
#include "linux_platform.h"

#include <pthread.h>

#include <atomic>

#include "device_watcher.h"
#include "iio_sensor_service.h"
#include "input_manager.h"
#include "linux_input_service.h"
#include "linux_log.h"
#include "linux_settings.h"
#include "platform_log.h"
#include "sensor_service_client.h"
#include "thread_support.h"

namespace Tarvo::Linux {

void LinuxPlatform::SetSysfsRoot(const std::string& root)
{
    LinuxSettings::Instance().SetSysfsRoot(root);
}

void LinuxPlatform::SetTouchDevice(const std::string& path)
{
    LinuxSettings::Instance().SetTouchDevice(path);
}

void LinuxPlatform::SetDisplaySize(DisplaySize size)
{
    LinuxSettings::Instance().SetDisplay(size);
}

void LinuxPlatform::SetLogLevel(int level)
{
    LinuxLog::Instance().SetLevel(level);
}

void LinuxPlatform::SetLogDestination(LogDestination destination)
{
    LinuxLog::Instance().SetDestination(destination);
}

void LinuxPlatform::SetLogSink(std::function<void(int, const std::string&)> sink)
{
    LinuxLog::Instance().SetSink(std::move(sink));
}

void LinuxPlatform::SetSampleObserver(std::function<void(const SampleRecord&)> observer)
{
    LinuxSettings::Instance().SetSampleObserver(std::move(observer));
}

void LinuxPlatform::SetTouchObserver(std::function<void(const TouchRecord&)> observer)
{
    LinuxSettings::Instance().SetTouchObserver(std::move(observer));
}

std::vector<int32_t> LinuxPlatform::PresentSensors()
{
    return Presence().sensors;
}

std::string LinuxPlatform::FindTouchscreen()
{
    return Presence().touchscreen;
}

bool DevicePresence::operator==(const DevicePresence& other) const
{
    return sensors == other.sensors && touchscreen == other.touchscreen;
}

DevicePresence LinuxPlatform::Presence()
{
    return DeviceWatcher::Instance().Refresh();
}

void LinuxPlatform::SetPresenceObserver(std::function<void(const DevicePresence&)> observer)
{
    DeviceWatcher::Instance().SetObserver(std::move(observer));
}

void LinuxPlatform::UseScriptedDevices(const DevicePresence& presence)
{
    DeviceWatcher::Instance().UseScripted(presence);
}

namespace {

// A play that cannot be delivered is a mistake of the host's: said once, not per call.
void ReportIgnoredPlay(std::atomic<bool>& reported, const char* what)
{
    if (!reported.exchange(true)) {
        LinuxLog::Instance().Write(LOG_LEVEL_WARN,
                                   std::string(what) +
                                       " ignored: not scripted devices (UseScriptedDevices "
                                       "first), or played from inside a delivery");
    }
}

}  // namespace

void LinuxPlatform::PlaySample(int32_t sensorTypeId, const std::vector<float>& values)
{
    static std::atomic<bool> reported{false};
    if (!IioSensorService::Instance().Play(sensorTypeId, values)) {
        ReportIgnoredPlay(reported, "PlaySample");
    }
}

void LinuxPlatform::PlayTouch(const TouchRecord& touch)
{
    static std::atomic<bool> reported{false};
    if (!LinuxInputService::Instance().Play(touch)) {
        ReportIgnoredPlay(reported, "PlayTouch");
    }
}

}  // namespace Tarvo::Linux

// ---- the platform seam -------------------------------------------------------------

using Tarvo::Linux::LinuxLog;

namespace Tarvo::Platform {

SensorService& TheSensorService()
{
    return Linux::IioSensorService::Instance();
}

InputService& TheInputService()
{
    return Linux::LinuxInputService::Instance();
}

LogService& TheLogService()
{
    return LinuxLog::Instance();
}

}  // namespace Tarvo::Platform

namespace Tarvo {

bool SetThreadName(const std::string& name)
{
    // The kernel keeps 15 characters and refuses longer names outright.
    return pthread_setname_np(pthread_self(), name.substr(0, 15).c_str()) == 0;
}

int SemInit(sem_t* sem, int pshared, unsigned int value)
{
    return sem_init(sem, pshared, value);
}

int SemWait(sem_t* sem)
{
    return sem_wait(sem);
}

int SemPost(sem_t* sem)
{
    return sem_post(sem);
}

int SemDestroy(sem_t* sem)
{
    return sem_destroy(sem);
}

}  // namespace Tarvo
