// The devices udev knows of that the layer may use: IIO devices and input event nodes,
// listed now and followed through a udev monitor. Not locked itself, and libudev is not
// thread-safe: one thread at a time (the device watcher holds its look lock).
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

struct udev;
struct udev_monitor;

namespace Tarvo::Linux {

class UdevDevices {
public:
    struct Device {
        std::string sysname;  // "iio:device0", "event3"
        std::string syspath;  // its sysfs directory
        std::string devnode;  // "/dev/input/event3"; empty for IIO devices
        // udev's ID_INPUT_TOUCHSCREEN for an event node it has classified (ID_INPUT
        // set): 1 or 0; -1 before it has.
        int touchscreen = -1;
    };

    UdevDevices() = default;
    ~UdevDevices();
    UdevDevices(const UdevDevices&) = delete;
    UdevDevices& operator=(const UdevDevices&) = delete;

    // Connects to udev; false with `error` set when it cannot (then nothing is found).
    bool Connect(std::string& error);
    // Starts receiving udev's events for the two subsystems; false with `error` set
    // when it cannot (then devices are still listed, but changes go unnoticed).
    bool Follow(std::string& error);
    // The monitor's descriptor, readable when events are waiting; -1 before Open.
    int MonitorFd() const;
    // Takes every waiting event; true when one of them concerned a device here.
    bool TakeEvents();

    // "iio:deviceN" devices by N, and input devices with an "/dev/input/eventN" node
    // by N: triggers, buffers and other input nodes are left out.
    std::vector<Device> IioDevices();
    std::vector<Device> EventNodes();

private:
    std::vector<Device> List(const char* subsystem, const std::string& prefix, bool withNode);

    udev* udev_ = nullptr;
    udev_monitor* monitor_ = nullptr;
    // Devices announced gone, by subsystem: the kernel announces a removal before its
    // sysfs directory goes, so a listing in between must not bring it back. Each entry
    // lasts until the device is announced again or no longer listed.
    std::map<std::string, std::set<std::string>> removed_;
};

}  // namespace Tarvo::Linux
