#include "device_watcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "iio_device.h"
#include "iio_sensor_service.h"
#include "linux_input_service.h"
#include "linux_log.h"
#include "linux_settings.h"
#include "platform_log.h"
#include "thread_support.h"

namespace Tarvo::Linux {

DeviceWatcher& DeviceWatcher::Instance()
{
    // Never destroyed: its thread may be waiting in it at process exit.
    static DeviceWatcher* instance = new DeviceWatcher;
    return *instance;
}

DevicePresence DeviceWatcher::Refresh()
{
    std::lock_guard<std::mutex> look(lookMutex_);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        StartLocked();
        if (scripted_) {
            return current_;
        }
    }
    const DevicePresence presence = Look();
    std::lock_guard<std::mutex> lock(mutex_);
    PublishLocked(presence);
    return presence;
}

DevicePresence DeviceWatcher::Look()
{
    std::vector<std::string> problems;
    IioSensorService& sensors = IioSensorService::Instance();
    sensors.UseDevices(IioDevice::Scan(LinuxSettings::Instance().SysfsRoot(), problems), problems);
    LinuxInputService& input = LinuxInputService::Instance();
    std::string whyNone;
    DevicePresence presence;
    presence.touchscreen = input.Search(whyNone);
    input.UseTouchscreen(presence.touchscreen, whyNone);
    presence.sensors = sensors.PresentSensors();
    return presence;
}

void DeviceWatcher::UseScripted(const DevicePresence& scripted)
{
    DevicePresence presence = scripted;
    std::sort(presence.sensors.begin(), presence.sensors.end());
    presence.sensors.erase(std::unique(presence.sensors.begin(), presence.sensors.end()),
                           presence.sensors.end());
    std::lock_guard<std::mutex> look(lookMutex_);
    IioSensorService::Instance().UseScriptedSensors(presence.sensors);
    LinuxInputService::Instance().UseScriptedTouchscreen();
    std::lock_guard<std::mutex> lock(mutex_);
    scripted_ = true;
    StartLocked();
    PublishLocked(presence);
}

void DeviceWatcher::SetObserver(std::function<void(const DevicePresence&)> observer)
{
    std::unique_lock<std::mutex> lock(mutex_);
    // The old observer may belong to code that goes away once this returns.
    gate_.WaitOut(lock);
    observer_ = std::move(observer);
    notified_ = current_;
    if (observer_) {
        StartLocked();
    }
}

void DeviceWatcher::PublishLocked(const DevicePresence& presence)
{
    if (presence == current_) {
        return;
    }
    current_ = presence;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof(one));
}

void DeviceWatcher::StartLocked()
{
    if (thread_ != nullptr) {
        return;
    }
    wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                   "cannot create an eventfd: device changes go untold");
        return;
    }
    thread_ = std::make_unique<std::thread>([this, fd = wakeFd_] { Run(fd); });
}

void DeviceWatcher::Run(int wakeFd)
{
    SetThreadName("quil-devices");
    for (;;) {
        pollfd fds[1] = {{wakeFd, POLLIN, 0}};
        if (poll(fds, 1, -1) < 0) {
            continue;  // EINTR; nothing else can fail on one valid descriptor
        }
        uint64_t count = 0;
        [[maybe_unused]] const ssize_t got = read(wakeFd, &count, sizeof(count));
        // Changes that come while the observer runs are told after it returns, the
        // latest state only.
        std::unique_lock<std::mutex> lock(mutex_);
        while (observer_ && current_ != notified_) {
            std::function<void(const DevicePresence&)> observer = observer_;
            const DevicePresence presence = current_;
            notified_ = presence;
            gate_.Begin();
            lock.unlock();
            observer(presence);
            observer = nullptr;  // its copy goes before the call counts as over
            lock.lock();
            gate_.End();
        }
    }
}

}  // namespace Tarvo::Linux
