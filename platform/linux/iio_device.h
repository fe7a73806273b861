// One sensor of an IIO device in sysfs, read the way the library expects its samples:
// acceleration in m/s² in the phone's axes, illuminance in lux, proximity as a distance
// of 0 (near) or 5 (far).
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Tarvo::Linux {

class IioDevice {
public:
    static constexpr float kProximityNear = 0.0f;
    static constexpr float kProximityFar = 5.0f;

    // Every sensor of the IIO device in `dir`, called `sysname` ("iio:deviceN"): a
    // device may hold several (a light and proximity chip is common). Sensors whose
    // attributes cannot be read are skipped with a line in `problems`.
    static std::vector<IioDevice> Probe(const std::string& dir, const std::string& sysname,
                                        std::vector<std::string>& problems);
    // Every sensor under ROOT/bus/iio/devices, in device order: for a copy of a device's
    // sysfs, where udev knows nothing of the devices.
    static std::vector<IioDevice> Scan(const std::string& sysfsRoot,
                                       std::vector<std::string>& problems);

    int32_t SensorTypeId() const { return sensorTypeId_; }
    const std::string& Directory() const { return dir_; }
    const std::string& Name() const { return name_; }
    // "accelerometer iio:device0 (bmi160) at /sys/..." for messages.
    std::string Describe() const;

    // One sample; false with `error` set when a channel cannot be read.
    bool Read(std::vector<float>& values, std::string& error) const;

private:
    struct Channel {
        std::string rawFile;  // read every sample
        double scale = 1.0;
        double offset = 0.0;
    };

    static bool ProbeAccelerometer(const std::string& dir, IioDevice& device, std::string& error);
    static bool ProbeLight(const std::string& dir, IioDevice& device, std::string& error);
    static bool ProbeProximity(const std::string& dir, IioDevice& device, std::string& error);
    bool ReadChannel(const Channel& channel, double& value, std::string& error) const;

    int32_t sensorTypeId_ = 0;
    std::string dir_;
    std::string name_;
    std::vector<Channel> channels_;
    // Rows map the sensor's axes onto the phone's: out[i] = sum_j matrix[i][j] * in[j].
    std::array<std::array<double, 3>, 3> mount_{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    double nearLevel_ = 1.0;
};

}  // namespace Tarvo::Linux
