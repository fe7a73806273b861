#include "umockdev_testbed.h"

#include <gtest/gtest.h>
#include <link.h>
#include <umockdev.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

namespace Tarvo::Test {
namespace {

// umockdev reports problems through GError; the test fails with its message.
bool Check(gboolean ok, GError* error, const std::string& what)
{
    if (!ok) {
        ADD_FAILURE() << what << ": " << (error != nullptr ? error->message : "failed");
        g_clear_error(&error);
    }
    return ok;
}

std::string Take(gchar* text)
{
    std::string copy = text != nullptr ? text : "";
    g_free(text);
    return copy;
}

}  // namespace

bool UmockdevTestbed::Preloaded()
{
    bool found = false;
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* data) {
            if (std::strstr(info->dlpi_name, "libumockdev-preload") != nullptr) {
                *static_cast<bool*>(data) = true;
            }
            return 0;
        },
        &found);
    return found;
}

UmockdevTestbed::UmockdevTestbed() : testbed_(umockdev_testbed_new())
{
    // What watches udev in the process keeps listening to the first testbed, and the
    // layer it watches for lives as long as the process: one testbed, one test, one
    // process, as ctest runs them.
    static int made = 0;
    if (++made > 1) {
        ADD_FAILURE() << "a second umockdev testbed in one process: run one test at a time "
                         "(--gtest_filter), as ctest does";
    }
    if (!Preloaded()) {
        ADD_FAILURE() << "not under umockdev's preload library: run this through "
                         "tests/support/umockdev/run-under-umockdev.sh, as ctest does";
    }
}

UmockdevTestbed::~UmockdevTestbed()
{
    g_object_unref(testbed_);
}

std::string UmockdevTestbed::AddIio(int n, const Attributes& attributes)
{
    return AddDevice("iio", "iio:device" + std::to_string(n), attributes);
}

std::string UmockdevTestbed::AddDevice(const std::string& subsystem, const std::string& name,
                                       const Attributes& attributes)
{
    std::vector<gchar*> list;
    for (const auto& [name, value] : attributes) {
        list.push_back(const_cast<gchar*>(name.c_str()));
        list.push_back(const_cast<gchar*>(value.c_str()));
    }
    list.push_back(nullptr);
    gchar* properties[] = {nullptr};
    return Take(umockdev_testbed_add_devicev(testbed_, subsystem.c_str(), name.c_str(), nullptr,
                                             list.data(), properties));
}

void UmockdevTestbed::AddDescription(const std::string& description)
{
    GError* error = nullptr;
    Check(umockdev_testbed_add_from_string(testbed_, description.c_str(), &error), error,
          "adding devices");
}

std::string UmockdevTestbed::AddAccelerometer(int n, int x, int y, int z)
{
    return AddIio(n, {{"name", "accel"},
                      {"in_accel_x_raw", std::to_string(x)},
                      {"in_accel_y_raw", std::to_string(y)},
                      {"in_accel_z_raw", std::to_string(z)},
                      {"in_accel_scale", "0.01"}});
}

void UmockdevTestbed::SetAccel(const std::string& syspath, int x, int y, int z)
{
    SetAttribute(syspath, "in_accel_x_raw", std::to_string(x));
    SetAttribute(syspath, "in_accel_y_raw", std::to_string(y));
    SetAttribute(syspath, "in_accel_z_raw", std::to_string(z));
}

void UmockdevTestbed::SetAttribute(const std::string& syspath, const std::string& name,
                                   const std::string& value)
{
    umockdev_testbed_set_attribute(testbed_, syspath.c_str(), name.c_str(), value.c_str());
}

void UmockdevTestbed::Remove(const std::string& syspath)
{
    // The event first: umockdev sends it only for a device that still exists.
    Announce(syspath, "remove");
    umockdev_testbed_remove_device(testbed_, syspath.c_str());
}

void UmockdevTestbed::Announce(const std::string& syspath, const std::string& action)
{
    umockdev_testbed_uevent(testbed_, syspath.c_str(), action.c_str());
}

std::string UmockdevTestbed::OnDisk(const std::string& syspath) const
{
    // syspath starts with /sys, which the testbed's sys directory stands for.
    return Take(umockdev_testbed_get_root_dir(testbed_)) + syspath;
}

std::string UmockdevTestbed::DataDirectory()
{
    return QUIL_UMOCKDEV_DATA_DIR;
}

int UmockdevTestbed::EventNumber(const std::string& panel)
{
    // As tests/data/umockdev/evemu-to-umockdev.py numbers them.
    const char* const panels[] = {"EP0430M09", "Wacom-ISDv4-E6-Finger", "dell_canvas_touch"};
    for (int i = 0; i < 3; ++i) {
        if (panel == panels[i]) {
            return 3 + i;
        }
    }
    ADD_FAILURE() << "no emulated touchscreen " << panel;
    return 0;
}

std::string UmockdevTestbed::TouchscreenNode(const std::string& panel)
{
    return "/dev/input/event" + std::to_string(EventNumber(panel));
}

namespace {

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (size_t at = text.find(from); at != std::string::npos;
         at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

// The input device and its event node, as the descriptions name them.
std::string InputPath(int number)
{
    return "/sys/devices/virtual/input/input" + std::to_string(number);
}

int NodeNumber(const std::string& node)
{
    return std::atoi(node.c_str() + node.rfind("event") + 5);
}

}  // namespace

std::string UmockdevTestbed::AddTouchscreen(const std::string& panel, int number)
{
    const int own = EventNumber(panel);
    number = number < 0 ? own : number;
    const std::string node = "/dev/input/event" + std::to_string(number);
    const std::string base = DataDirectory() + "/" + panel;
    std::ifstream in(base + ".umockdev");
    std::ostringstream text;
    text << in.rdbuf();
    std::string description = text.str();
    // The node, its input device and its minor number (64 + N) under the new number.
    for (const auto& [name, offset] :
         {std::pair<const char*, int>{"event", 0}, {"input", 0}, {"MINOR=", 64}, {"dev=13:", 64}}) {
        ReplaceAll(description, name + std::to_string(offset + own),
                   name + std::to_string(offset + number));
    }
    GError* error = nullptr;
    // The ioctls first: adding the device announces it, and whoever hears of it may open
    // the node at once.
    if (!Check(
            umockdev_testbed_load_ioctl(testbed_, node.c_str(), (base + ".ioctl").c_str(), &error),
            error, "loading " + base + ".ioctl") ||
        !Check(umockdev_testbed_add_from_string(testbed_, description.c_str(), &error), error,
               "loading " + base + ".umockdev")) {
        return "";
    }
    return node;
}

void UmockdevTestbed::RemoveTouchscreen(const std::string& node)
{
    const int number = NodeNumber(node);
    Announce(InputPath(number) + "/event" + std::to_string(number), "remove");
    Announce(InputPath(number), "remove");
    umockdev_testbed_remove_device(testbed_, InputPath(number).c_str());
}

void UmockdevTestbed::PlayEvents(const std::string& node, const std::string& recording)
{
    const std::string events = EventsOnly(recording);
    GError* error = nullptr;
    Check(umockdev_testbed_load_evemu_events(testbed_, node.c_str(), events.c_str(), &error), error,
          "loading " + recording);
}

std::string UmockdevTestbed::EventsOnly(const std::string& recording)
{
    const std::string name = recording.substr(recording.rfind('/') + 1);
    const std::string path = ::testing::TempDir() + "/" + name + ".events-only";
    std::ifstream in(recording);
    std::ofstream out(path);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("E: ", 0) == 0) {
            out << line << "\n";
        }
    }
    return path;
}

}  // namespace Tarvo::Test
