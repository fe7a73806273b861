// Which devices the layer uses. IIO sensors and touchscreens are found through udev and
// followed through its events: a device that comes or goes is looked at again at once,
// handed to the two services, and told to the presence observer on the layer's own
// thread. With a sysfs root of its own (a copy of a device's sysfs), the sensors are
// scanned from there instead, each time the library subscribes. With scripted devices,
// the host says what is present.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "delivery_gate.h"
#include "linux_platform.h"
#include "udev_devices.h"

namespace Tarvo::Linux {

class DeviceWatcher {
public:
    static DeviceWatcher& Instance();

    // What is present now. Looks at the devices again when udev cannot tell of changes
    // (a sysfs root of its own, no udev events) or the settings changed since the last
    // look; scripted devices stay as the host said.
    DevicePresence Refresh();
    void SetObserver(std::function<void(const DevicePresence&)> observer);
    void UseScripted(const DevicePresence& presence);

private:
    // What a look depends on besides the devices themselves.
    struct Settings {
        std::string sysfsRoot;
        std::string touchDevice;
        bool operator==(const Settings& other) const
        {
            return sysfsRoot == other.sysfsRoot && touchDevice == other.touchDevice;
        }
    };

    DeviceWatcher() = default;
    // Both with the look lock held. Starts the thread, following udev when `follow`.
    void StartLooked(bool follow);
    DevicePresence LookLooked();
    // Records what is present; a change wakes the thread that tells the observer.
    void PublishLocked(const DevicePresence& presence);
    void Run(int wakeFd, int udevFd);

    // One look at the devices at a time, so the services get them in order; it also
    // guards udev_ and looked_, taken before mutex_.
    std::mutex lookMutex_;
    UdevDevices udev_;
    bool following_ = false;  // udev events arrive
    bool looked_ = false;
    Settings lookedWith_;

    std::mutex mutex_;
    bool scripted_ = false;
    DevicePresence current_;
    DevicePresence notified_;  // what the observer last heard
    std::function<void(const DevicePresence&)> observer_;
    Platform::DeliveryGate gate_;
    // Started on first use; it waits without a timeout and lasts as long as the process.
    std::unique_ptr<std::thread> thread_;
    int wakeFd_ = -1;
};

}  // namespace Tarvo::Linux
