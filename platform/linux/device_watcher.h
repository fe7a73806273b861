// Which devices the layer uses: looked at again whenever the library subscribes to a
// sensor or adds a touch monitor (and when one is asked what is present), handed to the
// two services, and each change told to the presence observer on the layer's own thread.
// With scripted devices, the host says what is present instead.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "delivery_gate.h"
#include "linux_platform.h"

namespace Tarvo::Linux {

class DeviceWatcher {
public:
    static DeviceWatcher& Instance();

    // Looks at the devices again (scripted ones stay as they are), hands them to the
    // services and returns what is present.
    DevicePresence Refresh();
    void SetObserver(std::function<void(const DevicePresence&)> observer);
    void UseScripted(const DevicePresence& presence);

private:
    DeviceWatcher() = default;
    DevicePresence Look();
    // Records what is present; a change wakes the thread that tells the observer.
    void PublishLocked(const DevicePresence& presence);
    void StartLocked();
    void Run(int wakeFd);

    // One look at the devices at a time, so the services get them in order.
    std::mutex lookMutex_;
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
