// Control API of the Linux platform layer: what the host program sets and observes.
//
// The layer serves the platform seam (platform/include) from a real device: IIO sensors
// read through sysfs and the touchscreen through evdev, both found through udev and
// followed as they come and go; or from scripted devices that the host plays. Settings
// take effect the next time the library starts a sensor or adds a touch monitor;
// everything here is thread-safe.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Tarvo::Linux {

enum class LogDestination { STDERR, SYSLOG };

// One sample as it was handed to the library's subscribers.
struct SampleRecord {
    int32_t sensorTypeId = 0;
    int64_t timestampNs = 0;  // CLOCK_BOOTTIME
    std::vector<float> values;
};

// One touch event as it was handed to the library's monitors, in display pixels.
struct TouchRecord {
    int32_t action = 0;
    int32_t pointerId = 0;
    int32_t x = 0;
    int32_t y = 0;
    std::vector<int32_t> pointerIds;
    int64_t timestampNs = 0;  // CLOCK_BOOTTIME
};

struct DisplaySize {
    int32_t width = 1344;
    int32_t height = 2772;
};

// What the layer can use now.
struct DevicePresence {
    std::vector<int32_t>
        sensors;              // sensor type ids present: 1 accelerometer, 5 light, 12 proximity
    std::string touchscreen;  // the event node in use, empty when there is none
    bool operator==(const DevicePresence& other) const;
    bool operator!=(const DevicePresence& other) const { return !(*this == other); }
};

class LinuxPlatform {
public:
    // "/sys" (the default): IIO devices are those udev knows. Any other directory is a
    // copy of a device's sysfs: the IIO devices under ROOT/bus/iio/devices are scanned
    // each time the library subscribes to a sensor, and udev is not asked about them.
    static void SetSysfsRoot(const std::string& root);
    // The touchscreen's event node; empty (the default) takes the first touchscreen
    // among the event nodes udev knows.
    static void SetTouchDevice(const std::string& path);
    // Touch positions are scaled from the device's axis ranges to this size.
    static void SetDisplaySize(DisplaySize size);

    // The library's lines at `level` and above (3 debug .. 7 fatal, 8 none, the
    // default) are written. The layer's own warnings and errors about the device are
    // written at every level.
    static void SetLogLevel(int level);
    static void SetLogDestination(LogDestination destination);
    // Written lines go to `sink` instead (formatted as on standard error); an empty
    // function removes it. It runs under the log's own lock, on whichever thread writes
    // the line, and must not call the layer.
    static void SetLogSink(std::function<void(int level, const std::string& line)> sink);

    // Called on the delivering thread before the library sees the sample or event.
    static void SetSampleObserver(std::function<void(const SampleRecord&)> observer);
    static void SetTouchObserver(std::function<void(const TouchRecord&)> observer);

    // Sensor type ids present under the sysfs root now (1, 5, 12 as found).
    static std::vector<int32_t> PresentSensors();
    // The touchscreen that would be used now, or empty when there is none usable.
    static std::string FindTouchscreen();

    // What the layer can use now, sensors in ascending order.
    static DevicePresence Presence();
    // Called on a thread of the layer, never with a layer lock held, each time what is
    // present changes (hotplug); an empty function removes it. Calls may run from inside
    // it. Once this returns (called from outside the observer), the old observer is not
    // running and is not called again. Set it before reading Presence(), so that no
    // change can fall between the two.
    static void SetPresenceObserver(std::function<void(const DevicePresence&)> observer);

    // Scripted devices: a development host with no devices. From this call on, the layer
    // reads no sysfs and opens no evdev node; `presence` is what it reports, and samples
    // and touches reach the library only when played here (to the subscribers and
    // monitors that are active at that moment, through the same delivery path and
    // observers as real ones). Called again, it changes what is present.
    static void UseScriptedDevices(const DevicePresence& presence);
    // Delivered on the calling thread before these return. Ignored before
    // UseScriptedDevices, and from inside a delivery of the same kind (an observer).
    static void PlaySample(int32_t sensorTypeId, const std::vector<float>& values);
    static void PlayTouch(const TouchRecord& touch);  // display pixels; action 2 down, 3 move, 4 up
};

}  // namespace Tarvo::Linux
