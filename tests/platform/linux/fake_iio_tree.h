// A throw-away sysfs tree with IIO devices, for the Linux platform's tests.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace Tarvo::Test {

class FakeIioTree {
public:
    FakeIioTree()
    {
        char dir[] = "/tmp/quil-sysfs-XXXXXX";
        root_ = mkdtemp(dir);
        std::filesystem::create_directories(Devices());
    }
    ~FakeIioTree()
    {
        std::error_code ec;
        std::filesystem::remove_all(root_, ec);
    }
    FakeIioTree(const FakeIioTree&) = delete;
    FakeIioTree& operator=(const FakeIioTree&) = delete;

    const std::string& Root() const { return root_; }
    std::string Devices() const { return root_ + "/bus/iio/devices"; }
    std::string Device(int n) const { return Devices() + "/iio:device" + std::to_string(n); }

    void AddDevice(int n, const std::string& name)
    {
        std::filesystem::create_directories(Device(n));
        Write(n, "name", name);
    }
    // Replaced in one step, as a reader on another thread must never see half a value.
    void Write(int n, const std::string& attribute, const std::string& value)
    {
        const std::string path = Device(n) + "/" + attribute;
        {
            std::ofstream out(path + ".new");
            out << value << "\n";
        }
        std::rename((path + ".new").c_str(), path.c_str());
    }
    std::string Attribute(int n, const std::string& attribute) const
    {
        return Device(n) + "/" + attribute;
    }
    void Accel(int n, int x, int y, int z)
    {
        Write(n, "in_accel_x_raw", std::to_string(x));
        Write(n, "in_accel_y_raw", std::to_string(y));
        Write(n, "in_accel_z_raw", std::to_string(z));
    }
    void Remove(int n)
    {
        std::error_code ec;
        std::filesystem::remove_all(Device(n), ec);
    }
    // Moves a device out of the tree and back, as an unplug and replug would.
    void Unplug(int n) { std::filesystem::rename(Device(n), Unplugged(n)); }
    void Replug(int n) { std::filesystem::rename(Unplugged(n), Device(n)); }

private:
    std::string Unplugged(int n) const { return root_ + "/unplugged" + std::to_string(n); }

    std::string root_;
};

}  // namespace Tarvo::Test
