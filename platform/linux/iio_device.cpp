#include "iio_device.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <sstream>

#include "sensor_service_client.h"

namespace Tarvo::Linux {
namespace {

namespace fs = std::filesystem;

constexpr char kDevicePrefix[] = "iio:device";

// Whether there is anything at `path`: a link that leads nowhere or round in a loop
// counts, so that reading it names the problem instead of passing over it.
bool Exists(const std::string& path)
{
    std::error_code ec;
    return fs::exists(fs::symlink_status(path, ec));
}

// A sysfs attribute holds at most one page; anything longer is not an attribute.
constexpr size_t kMaxAttributeBytes = 4096;

std::string Reason(const std::string& path, int error)
{
    return "cannot read " + path + ": " + std::strerror(error);
}

// The whole attribute; false with `error` naming the file and the reason. Only a
// regular file of at most one page is read, and nothing here can block: a FIFO, a
// device node or an endless file in the tree is refused, not waited on.
bool ReadText(const std::string& path, std::string& text, std::string& error)
{
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        error = Reason(path, errno);
        return false;
    }
    struct stat info {};
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        error = "cannot read " + path + ": not a regular file";
        close(fd);
        return false;
    }
    char buffer[kMaxAttributeBytes + 1];
    size_t used = 0;
    for (;;) {
        const ssize_t got = read(fd, buffer + used, sizeof(buffer) - used);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            error = Reason(path, errno);
            close(fd);
            return false;
        }
        used += static_cast<size_t>(got);
        if (got == 0 || used == sizeof(buffer)) {
            break;
        }
    }
    close(fd);
    if (used > kMaxAttributeBytes) {
        error = "cannot read " + path + ": longer than " + std::to_string(kMaxAttributeBytes) +
                " bytes";
        return false;
    }
    text.assign(buffer, used);
    return true;
}

bool ParseNumber(const std::string& text, double& value)
{
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    value = std::strtod(begin, &end);
    if (end == begin || errno == ERANGE || !std::isfinite(value)) {
        return false;
    }
    while (*end == ' ' || *end == '\n' || *end == '\t' || *end == '\r') {
        ++end;
    }
    return *end == '\0';
}

bool ReadNumber(const std::string& path, double& value, std::string& error)
{
    std::string text;
    if (!ReadText(path, text, error)) {
        return false;
    }
    if (!ParseNumber(text, value)) {
        error = path + " holds no number: '" + text.substr(0, text.find('\n')) + "'";
        return false;
    }
    return true;
}

// The first of `names` in `dir` that exists, read as a number; `value` unchanged when
// none exists.
bool ReadOptionalNumber(const std::string& dir, std::initializer_list<const char*> names,
                        double& value, std::string& error)
{
    for (const char* name : names) {
        const std::string path = dir + "/" + name;
        if (Exists(path)) {
            return ReadNumber(path, value, error);
        }
    }
    return true;
}

// "a, b, c; d, e, f; g, h, i" (the kernel's mount matrix format), row by row.
bool ParseMatrix(const std::string& text, std::array<std::array<double, 3>, 3>& matrix)
{
    std::string rest = text;
    while (!rest.empty() && (rest.back() == '\n' || rest.back() == ' ')) {
        rest.pop_back();
    }
    std::istringstream rows(rest);
    std::string row;
    int r = 0;
    while (std::getline(rows, row, ';')) {
        if (r == 3) {
            return false;
        }
        std::istringstream cells(row);
        std::string cell;
        int c = 0;
        while (std::getline(cells, cell, ',')) {
            if (c == 3 || !ParseNumber(cell, matrix[r][c])) {
                return false;
            }
            ++c;
        }
        if (c != 3) {
            return false;
        }
        ++r;
    }
    return r == 3;
}

// "iio:device" and a number; triggers and buffers live beside the devices.
bool IsDeviceName(const std::string& name)
{
    const size_t prefix = std::strlen(kDevicePrefix);
    return name.size() > prefix && name.compare(0, prefix, kDevicePrefix) == 0 &&
           name.find_first_not_of("0123456789", prefix) == std::string::npos;
}

long DeviceNumber(const std::string& name)
{
    return std::strtol(name.c_str() + std::strlen(kDevicePrefix), nullptr, 10);
}

}  // namespace

std::vector<IioDevice> IioDevice::Scan(const std::string& sysfsRoot,
                                       std::vector<std::string>& problems)
{
    const std::string base = sysfsRoot + "/bus/iio/devices";
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(base, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (IsDeviceName(name)) {
            names.push_back(name);
        }
    }
    if (ec && ec != std::errc::no_such_file_or_directory) {
        problems.push_back("cannot list " + base + ": " + ec.message());
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return DeviceNumber(a) < DeviceNumber(b);
    });

    std::vector<IioDevice> devices;
    for (const std::string& name : names) {
        std::vector<IioDevice> found = Probe(base + "/" + name, name, problems);
        std::move(found.begin(), found.end(), std::back_inserter(devices));
    }
    return devices;
}

std::vector<IioDevice> IioDevice::Probe(const std::string& dir, const std::string& sysname,
                                        std::vector<std::string>& problems)
{
    std::string label = sysname;
    std::string text;
    std::string ignored;
    if (ReadText(dir + "/name", text, ignored)) {
        label += " (" + text.substr(0, text.find('\n')) + ")";
    }
    std::vector<IioDevice> devices;
    using Prober = bool (*)(const std::string&, IioDevice&, std::string&);
    for (Prober probe : {&ProbeAccelerometer, &ProbeLight, &ProbeProximity}) {
        IioDevice device;
        device.dir_ = dir;
        device.name_ = label;
        std::string error;
        if (probe(dir, device, error)) {
            devices.push_back(std::move(device));
        } else if (!error.empty()) {
            problems.push_back(label + ": " + error);
        }
    }
    return devices;
}

bool IioDevice::ProbeAccelerometer(const std::string& dir, IioDevice& device, std::string& error)
{
    if (!Exists(dir + "/in_accel_x_raw")) {
        return false;
    }
    device.sensorTypeId_ = SENSOR_TYPE_ID_ACCELEROMETER;
    double sharedScale = 1.0;
    double sharedOffset = 0.0;
    if (!ReadOptionalNumber(dir, {"in_accel_scale"}, sharedScale, error) ||
        !ReadOptionalNumber(dir, {"in_accel_offset"}, sharedOffset, error)) {
        return false;
    }
    for (const std::string axis : {"x", "y", "z"}) {
        Channel channel;
        channel.rawFile = dir + "/in_accel_" + axis + "_raw";
        channel.scale = sharedScale;
        channel.offset = sharedOffset;
        if (!Exists(channel.rawFile)) {
            error = "accelerometer without " + channel.rawFile;
            return false;
        }
        const std::string scale = "in_accel_" + axis + "_scale";
        const std::string offset = "in_accel_" + axis + "_offset";
        if (!ReadOptionalNumber(dir, {scale.c_str()}, channel.scale, error) ||
            !ReadOptionalNumber(dir, {offset.c_str()}, channel.offset, error)) {
            return false;
        }
        device.channels_.push_back(channel);
    }
    for (const char* name : {"in_accel_mount_matrix", "mount_matrix"}) {
        const std::string path = dir + "/" + name;
        if (!Exists(path)) {
            continue;
        }
        std::string text;
        if (!ReadText(path, text, error)) {
            return false;
        }
        if (!ParseMatrix(text, device.mount_)) {
            error = path + " is not a 3x3 matrix: '" + text.substr(0, text.find('\n')) + "'";
            return false;
        }
        break;
    }
    return true;
}

bool IioDevice::ProbeLight(const std::string& dir, IioDevice& device, std::string& error)
{
    Channel channel;
    if (Exists(dir + "/in_illuminance_input")) {
        channel.rawFile = dir + "/in_illuminance_input";  // already in lux
    } else if (Exists(dir + "/in_illuminance_raw")) {
        channel.rawFile = dir + "/in_illuminance_raw";
        if (!ReadOptionalNumber(dir, {"in_illuminance_scale"}, channel.scale, error) ||
            !ReadOptionalNumber(dir, {"in_illuminance_offset"}, channel.offset, error)) {
            return false;
        }
    } else {
        return false;
    }
    device.sensorTypeId_ = SENSOR_TYPE_ID_AMBIENT_LIGHT;
    device.channels_.push_back(channel);
    return true;
}

bool IioDevice::ProbeProximity(const std::string& dir, IioDevice& device, std::string& error)
{
    if (!Exists(dir + "/in_proximity_raw")) {
        return false;
    }
    device.sensorTypeId_ = SENSOR_TYPE_ID_PROXIMITY;
    device.channels_.push_back(Channel{dir + "/in_proximity_raw", 1.0, 0.0});
    // Without a near level, any reflection at all counts as near.
    return ReadOptionalNumber(dir, {"in_proximity_nearlevel", "in_proximity0_nearlevel"},
                              device.nearLevel_, error);
}

std::string IioDevice::Describe() const
{
    const char* kind = sensorTypeId_ == SENSOR_TYPE_ID_ACCELEROMETER   ? "accelerometer"
                       : sensorTypeId_ == SENSOR_TYPE_ID_AMBIENT_LIGHT ? "light sensor"
                                                                       : "proximity sensor";
    return std::string(kind) + " " + name_;
}

bool IioDevice::ReadChannel(const Channel& channel, double& value, std::string& error) const
{
    double raw = 0.0;
    if (!ReadNumber(channel.rawFile, raw, error)) {
        return false;
    }
    value = (raw + channel.offset) * channel.scale;
    return true;
}

bool IioDevice::Read(std::vector<float>& values, std::string& error) const
{
    values.clear();
    if (sensorTypeId_ == SENSOR_TYPE_ID_ACCELEROMETER) {
        double in[3] = {};
        for (size_t i = 0; i < 3; ++i) {
            if (!ReadChannel(channels_[i], in[i], error)) {
                return false;
            }
        }
        for (const auto& row : mount_) {
            values.push_back(static_cast<float>(row[0] * in[0] + row[1] * in[1] + row[2] * in[2]));
        }
        return true;
    }
    double value = 0.0;
    if (!ReadChannel(channels_[0], value, error)) {
        return false;
    }
    if (sensorTypeId_ == SENSOR_TYPE_ID_PROXIMITY) {
        // The raw value grows as an object approaches.
        values.push_back(value >= nearLevel_ ? kProximityNear : kProximityFar);
    } else {
        values.push_back(static_cast<float>(value));
    }
    return true;
}

}  // namespace Tarvo::Linux
