// Emulated devices for tests of the Linux platform and the programs on it: umockdev's
// testbed, made in this process. This process must run under umockdev's preload library
// (tests/support/umockdev/run-under-umockdev.sh does that); then it, and every child it starts
// with the environment it has, sees the testbed's devices instead of the machine's:
// udev lists and announces them, their sysfs attributes read as files, and emulated
// touchscreens answer libevdev and play evemu recordings.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct _UMockdevTestbed;

namespace Tarvo::Test {

class UmockdevTestbed {
public:
    using Attributes = std::vector<std::pair<std::string, std::string>>;

    // Whether the preload library is in this process, without which a testbed is inert.
    static bool Preloaded();

    UmockdevTestbed();
    ~UmockdevTestbed();
    UmockdevTestbed(const UmockdevTestbed&) = delete;
    UmockdevTestbed& operator=(const UmockdevTestbed&) = delete;

    // Adds a device with these sysfs attributes and announces it (udev "add"); returns
    // its sysfs path (/sys/devices/NAME).
    std::string AddDevice(const std::string& subsystem, const std::string& name,
                          const Attributes& attributes);
    // Devices in umockdev's description format (P:, N:, E:, A: lines), announced.
    void AddDescription(const std::string& description);
    // IIO device "iio:deviceN".
    std::string AddIio(int n, const Attributes& attributes);
    // An accelerometer reading `raw` x, y, z with a scale of 0.01, so that 980 is 1 g.
    std::string AddAccelerometer(int n, int x, int y, int z);
    void SetAccel(const std::string& syspath, int x, int y, int z);
    // Changes one attribute in place; the kernel announces nothing for a new reading.
    void SetAttribute(const std::string& syspath, const std::string& name,
                      const std::string& value);
    // Announces the device gone (udev "remove"), then removes it and its node.
    void Remove(const std::string& syspath);
    // Announces `action` ("add", "change", "remove") for the device.
    void Announce(const std::string& syspath, const std::string& action);
    // Where the device's directory really is on disk, for making hostile attributes
    // (FIFOs, links, unreadable files) that the testbed's own calls cannot.
    std::string OnDisk(const std::string& syspath) const;

    // One of the emulated touchscreens of tests/data/umockdev (EP0430M09,
    // Wacom-ISDv4-E6-Finger, dell_canvas_touch), announced; returns its event node,
    // /dev/input/eventN. N is the panel's own number in its description unless `number`
    // says otherwise: a screen plugged in again comes back under a new one (umockdev
    // cannot make a node a second time either).
    std::string AddTouchscreen(const std::string& panel, int number = -1);
    // Announces the touchscreen at `node` gone, then removes it with its input device.
    void RemoveTouchscreen(const std::string& node);
    // The panel's own event node.
    static std::string TouchscreenNode(const std::string& panel);
    // Plays an evemu recording into the node at once, in real time, to whoever has it
    // open (or opens it first): so wait until the reader has it open.
    void PlayEvents(const std::string& node, const std::string& recording);
    // The recording's events alone (an .evemu file holds its description too, which
    // umockdev would warn about line by line), in a file of their own.
    static std::string EventsOnly(const std::string& recording);

    // The descriptions' directory, tests/data/umockdev.
    static std::string DataDirectory();

private:
    static int EventNumber(const std::string& panel);

    _UMockdevTestbed* testbed_ = nullptr;
};

}  // namespace Tarvo::Test
