#include "device_watcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include "evdev_touchscreen.h"
#include "iio_device.h"
#include "iio_sensor_service.h"
#include "linux_input_service.h"
#include "linux_log.h"
#include "linux_settings.h"
#include "platform_log.h"
#include "thread_support.h"

namespace Tarvo::Linux {
namespace {

constexpr char kSysfs[] = "/sys";
constexpr char kInputDirectory[] = "/dev/input";

}  // namespace

DeviceWatcher& DeviceWatcher::Instance()
{
    // Never destroyed: its thread may be waiting in it at process exit.
    static DeviceWatcher* instance = new DeviceWatcher;
    return *instance;
}

DevicePresence DeviceWatcher::Refresh()
{
    std::lock_guard<std::mutex> look(lookMutex_);
    StartLooked(true);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (scripted_) {
            return current_;
        }
    }
    const Settings settings{LinuxSettings::Instance().SysfsRoot(),
                            LinuxSettings::Instance().TouchDevice()};
    // Events not taken yet are taken now, so that what udev has said counts at once.
    const bool changed = udev_.TakeEvents();
    if (!changed && looked_ && following_ && settings.sysfsRoot == kSysfs &&
        settings == lookedWith_) {
        std::lock_guard<std::mutex> lock(mutex_);
        return current_;  // udev tells of every change
    }
    const DevicePresence presence = LookLooked();
    std::lock_guard<std::mutex> lock(mutex_);
    PublishLocked(presence);
    return presence;
}

DevicePresence DeviceWatcher::LookLooked()
{
    lookedWith_ = {LinuxSettings::Instance().SysfsRoot(), LinuxSettings::Instance().TouchDevice()};
    looked_ = true;
    std::vector<std::string> problems;
    std::vector<IioDevice> sensors;
    if (lookedWith_.sysfsRoot == kSysfs) {
        for (const UdevDevices::Device& device : udev_.IioDevices()) {
            std::vector<IioDevice> found =
                IioDevice::Probe(device.syspath, device.sysname, problems);
            std::move(found.begin(), found.end(), std::back_inserter(sensors));
        }
    } else {
        sensors = IioDevice::Scan(lookedWith_.sysfsRoot, problems);
    }
    IioSensorService& sensorService = IioSensorService::Instance();
    sensorService.UseDevices(std::move(sensors), problems);

    std::vector<EvdevTouchscreen::Node> nodes;
    for (const UdevDevices::Device& device : udev_.EventNodes()) {
        using Kind = EvdevTouchscreen::Node::Kind;
        nodes.push_back({device.devnode, device.touchscreen < 0    ? Kind::UNKNOWN
                                         : device.touchscreen == 1 ? Kind::TOUCHSCREEN
                                                                   : Kind::OTHER});
    }
    LinuxInputService& input = LinuxInputService::Instance();
    std::string whyNone;
    DevicePresence presence;
    presence.touchscreen = input.Search(nodes, kInputDirectory, whyNone);
    input.UseTouchscreen(presence.touchscreen, whyNone);
    presence.sensors = sensorService.PresentSensors();
    return presence;
}

void DeviceWatcher::UseScripted(const DevicePresence& scripted)
{
    DevicePresence presence = scripted;
    std::sort(presence.sensors.begin(), presence.sensors.end());
    presence.sensors.erase(std::unique(presence.sensors.begin(), presence.sensors.end()),
                           presence.sensors.end());
    std::lock_guard<std::mutex> look(lookMutex_);
    // Started now, it never asks udev anything: a scripted host has no devices to follow.
    StartLooked(false);
    IioSensorService::Instance().UseScriptedSensors(presence.sensors);
    LinuxInputService::Instance().UseScriptedTouchscreen();
    std::lock_guard<std::mutex> lock(mutex_);
    scripted_ = true;
    PublishLocked(presence);
}

void DeviceWatcher::SetObserver(std::function<void(const DevicePresence&)> observer)
{
    if (observer) {
        std::lock_guard<std::mutex> look(lookMutex_);
        StartLooked(true);
    }
    std::unique_lock<std::mutex> lock(mutex_);
    // The old observer may belong to code that goes away once this returns.
    gate_.WaitOut(lock);
    observer_ = std::move(observer);
    notified_ = current_;
}

void DeviceWatcher::PublishLocked(const DevicePresence& presence)
{
    if (presence == current_) {
        return;
    }
    current_ = presence;
    if (wakeFd_ >= 0) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof(one));
    }
}

void DeviceWatcher::StartLooked(bool follow)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (thread_ != nullptr || wakeFd_ == -2) {
        return;
    }
    std::string error;
    if (follow && !scripted_) {
        if (!udev_.Connect(error)) {
            LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                       error + "; no sensor or touchscreen is found");
        } else if (!udev_.Follow(error)) {
            LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                       error + "; devices are looked at again only when used");
        } else {
            following_ = true;
        }
    }
    wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        wakeFd_ = -2;  // not tried again
        LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                   "cannot create an eventfd: device changes go untold");
        return;
    }
    thread_ = std::make_unique<std::thread>(
        [this, wake = wakeFd_, events = udev_.MonitorFd()] { Run(wake, events); });
}

void DeviceWatcher::Run(int wakeFd, int udevFd)
{
    SetThreadName("quil-devices");
    for (;;) {
        // No timeout: the thread sleeps until a device changes or the observer is due.
        pollfd fds[2] = {{wakeFd, POLLIN, 0}, {udevFd, POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            continue;  // EINTR; the descriptors are valid or -1, which poll skips
        }
        if (fds[0].revents != 0) {
            uint64_t count = 0;
            [[maybe_unused]] const ssize_t got = read(wakeFd, &count, sizeof(count));
        }
        if (fds[1].revents != 0) {
            std::lock_guard<std::mutex> look(lookMutex_);
            bool scripted = false;
            {
                std::lock_guard<std::mutex> lock(mutex_);
                scripted = scripted_;
            }
            const bool took = udev_.TakeEvents();
            if (took && !scripted) {
                const DevicePresence presence = LookLooked();
                std::lock_guard<std::mutex> lock(mutex_);
                PublishLocked(presence);
            } else if (!took && (fds[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
                // A broken monitor would wake the thread for ever: it is let go.
                udevFd = -1;
                following_ = false;
                LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                           "udev events stopped; devices are looked at again "
                                           "only when used");
            }
        }
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
