#include "udev_devices.h"

#include <libudev.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace Tarvo::Linux {
namespace {

constexpr const char* kSubsystems[] = {"iio", "input"};

// The number after `prefix` in `name`, or -1 when `name` is not prefix and digits.
long NumberAfter(const std::string& name, const std::string& prefix)
{
    if (name.size() <= prefix.size() || name.compare(0, prefix.size(), prefix) != 0 ||
        name.find_first_not_of("0123456789", prefix.size()) != std::string::npos) {
        return -1;
    }
    return std::strtol(name.c_str() + prefix.size(), nullptr, 10);
}

}  // namespace

UdevDevices::~UdevDevices()
{
    if (monitor_ != nullptr) {
        udev_monitor_unref(monitor_);
    }
    if (udev_ != nullptr) {
        udev_unref(udev_);
    }
}

bool UdevDevices::Connect(std::string& error)
{
    if (udev_ == nullptr) {
        udev_ = udev_new();
    }
    if (udev_ == nullptr) {
        error = std::string("cannot connect to udev: ") + std::strerror(errno);
        return false;
    }
    return true;
}

bool UdevDevices::Follow(std::string& error)
{
    if (monitor_ != nullptr) {
        return true;
    }
    // Events as udev hands them on, once it has set up the node and its permissions.
    monitor_ = udev_monitor_new_from_netlink(udev_, "udev");
    bool ok = monitor_ != nullptr;
    for (const char* subsystem : kSubsystems) {
        ok = ok &&
             udev_monitor_filter_add_match_subsystem_devtype(monitor_, subsystem, nullptr) >= 0;
    }
    if (!ok || udev_monitor_enable_receiving(monitor_) < 0) {
        error = std::string("cannot follow udev events: ") + std::strerror(errno);
        if (monitor_ != nullptr) {
            udev_monitor_unref(monitor_);
            monitor_ = nullptr;
        }
        return false;
    }
    return true;
}

int UdevDevices::MonitorFd() const
{
    return monitor_ != nullptr ? udev_monitor_get_fd(monitor_) : -1;
}

bool UdevDevices::TakeEvents()
{
    bool any = false;
    if (monitor_ == nullptr) {
        return false;
    }
    // libudev makes the monitor's socket non-blocking: this ends when none is left.
    while (udev_device* device = udev_monitor_receive_device(monitor_)) {
        any = true;
        const char* action = udev_device_get_action(device);
        const char* subsystem = udev_device_get_subsystem(device);
        const char* syspath = udev_device_get_syspath(device);
        if (action != nullptr && subsystem != nullptr && syspath != nullptr) {
            if (std::strcmp(action, "remove") == 0) {
                removed_[subsystem].insert(syspath);
            } else {
                removed_[subsystem].erase(syspath);
            }
        }
        udev_device_unref(device);
    }
    return any;
}

std::vector<UdevDevices::Device> UdevDevices::IioDevices()
{
    return List("iio", "iio:device", false);
}

std::vector<UdevDevices::Device> UdevDevices::EventNodes()
{
    return List("input", "event", true);
}

std::vector<UdevDevices::Device> UdevDevices::List(const char* subsystem, const std::string& prefix,
                                                   bool withNode)
{
    std::vector<std::pair<long, Device>> found;
    udev_enumerate* enumerate = udev_ != nullptr ? udev_enumerate_new(udev_) : nullptr;
    if (enumerate == nullptr) {
        return {};
    }
    std::set<std::string>& removed = removed_[subsystem];
    std::set<std::string> listed;
    udev_enumerate_add_match_subsystem(enumerate, subsystem);
    udev_enumerate_scan_devices(enumerate);
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(enumerate))
    {
        udev_device* device = udev_device_new_from_syspath(udev_, udev_list_entry_get_name(entry));
        if (device == nullptr) {
            continue;  // gone since it was listed
        }
        const char* sysname = udev_device_get_sysname(device);
        const char* devnode = udev_device_get_devnode(device);
        const std::string syspath = udev_device_get_syspath(device);
        listed.insert(syspath);
        const long number = sysname != nullptr ? NumberAfter(sysname, prefix) : -1;
        if (number >= 0 && (!withNode || devnode != nullptr) && removed.count(syspath) == 0) {
            Device found_device{sysname, syspath, devnode != nullptr ? devnode : ""};
            if (udev_device_get_property_value(device, "ID_INPUT") != nullptr) {
                const char* touch = udev_device_get_property_value(device, "ID_INPUT_TOUCHSCREEN");
                found_device.touchscreen = touch != nullptr && std::strcmp(touch, "1") == 0 ? 1 : 0;
            }
            found.emplace_back(number, std::move(found_device));
        }
        udev_device_unref(device);
    }
    udev_enumerate_unref(enumerate);
    for (auto it = removed.begin(); it != removed.end();) {
        it = listed.count(*it) == 0 ? removed.erase(it) : std::next(it);
    }
    std::sort(found.begin(), found.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<Device> devices;
    for (auto& entry : found) {
        devices.push_back(std::move(entry.second));
    }
    return devices;
}

}  // namespace Tarvo::Linux
