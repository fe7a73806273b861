// End to end on a real kernel input device: a virtual touchscreen made through uinput,
// a swipe played into it, and the report the Linux build of the plug-in gives.
#include <gtest/gtest.h>
#include <libevdev/libevdev-uinput.h>
#include <libevdev/libevdev.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "i_motion_algo.h"
#include "linux_platform.h"
#include "plugin_loader.h"

namespace Tarvo::Linux {
namespace {

class Collector : public Quil::IMotionAlgo::Callback {
public:
    int OnMotionChanged(const Quil::MotionData& data) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        reports_.push_back(data);
        arrived_.notify_all();
        return 0;
    }
    bool WaitFor(size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return arrived_.wait_for(lock, std::chrono::seconds(5),
                                 [&] { return reports_.size() >= count; });
    }
    std::vector<Quil::MotionData> Reports()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return reports_;
    }

private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::vector<Quil::MotionData> reports_;
};

// A portrait panel with the reference display's resolution, so positions map 1:1.
libevdev_uinput* CreateTouchscreen(std::string& error)
{
    libevdev* device = libevdev_new();
    libevdev_set_name(device, "quil test touchscreen");
    libevdev_enable_property(device, INPUT_PROP_DIRECT);
    libevdev_enable_event_type(device, EV_SYN);
    libevdev_enable_event_code(device, EV_KEY, BTN_TOUCH, nullptr);
    const auto axis = [device](unsigned code, int max) {
        input_absinfo info{};
        info.maximum = max;
        libevdev_enable_event_code(device, EV_ABS, code, &info);
    };
    axis(ABS_X, 1343);
    axis(ABS_Y, 2771);
    axis(ABS_MT_SLOT, 4);
    axis(ABS_MT_TRACKING_ID, 65535);
    axis(ABS_MT_POSITION_X, 1343);
    axis(ABS_MT_POSITION_Y, 2771);
    libevdev_uinput* uinput = nullptr;
    const int rc =
        libevdev_uinput_create_from_device(device, LIBEVDEV_UINPUT_OPEN_MANAGED, &uinput);
    libevdev_free(device);
    if (rc != 0) {
        error = std::string("cannot create a uinput device: ") + strerror(-rc);
        return nullptr;
    }
    return uinput;
}

TEST(UinputSwipeTest, ASwipeOnAVirtualTouchscreenIsRecognised)
{
    if (access("/dev/uinput", W_OK) != 0) {
        GTEST_SKIP() << "/dev/uinput is not writable here; the end-to-end swipe needs it";
    }
    std::string error;
    std::unique_ptr<libevdev_uinput, void (*)(libevdev_uinput*)> screen(CreateTouchscreen(error),
                                                                        &libevdev_uinput_destroy);
    if (screen == nullptr) {
        GTEST_SKIP() << error;
    }
    const char* node = libevdev_uinput_get_devnode(screen.get());
    ASSERT_NE(node, nullptr);
    LinuxPlatform::SetTouchDevice(node);
    // The node may appear a moment after the device does.
    for (int i = 0; i < 100 && access(node, R_OK) != 0; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }

    // The layer says when it has the node open; events written before that are lost.
    std::mutex logMutex;
    std::condition_variable opened;
    bool isOpen = false;
    LinuxPlatform::SetLogLevel(4);
    LinuxPlatform::SetLogSink([&](int, const std::string& line) {
        if (line.find("touch from " + std::string(node)) != std::string::npos) {
            std::lock_guard<std::mutex> lock(logMutex);
            isOpen = true;
            opened.notify_all();
        }
    });

    Tools::PluginLoader plugin;
    ASSERT_TRUE(plugin.Load(QUIL_PLUGIN_PATH, error)) << error;
    Quil::IMotionAlgo* algo = plugin.Create();
    ASSERT_NE(algo, nullptr);
    auto collector = std::make_shared<Collector>();
    algo->RegisterCallback(collector);
    ASSERT_EQ(algo->Enable(10), 0);  // a swipe in from the left edge
    {
        std::unique_lock<std::mutex> lock(logMutex);
        ASSERT_TRUE(opened.wait_for(lock, std::chrono::seconds(5), [&] { return isOpen; }))
            << "the touch reader never opened " << node;
    }

    const auto write = [&screen](unsigned type, unsigned code, int value) {
        libevdev_uinput_write_event(screen.get(), type, code, value);
    };
    const auto frame = [&](int x, int y) {
        write(EV_ABS, ABS_MT_POSITION_X, x);
        write(EV_ABS, ABS_MT_POSITION_Y, y);
        write(EV_ABS, ABS_X, x);
        write(EV_ABS, ABS_Y, y);
        write(EV_SYN, SYN_REPORT, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(8));
    };
    write(EV_ABS, ABS_MT_SLOT, 0);
    write(EV_ABS, ABS_MT_TRACKING_ID, 1);
    write(EV_KEY, BTN_TOUCH, 1);
    for (int x = 24; x <= 410; x += 32) {
        frame(x, 1210 + x / 20);
    }
    write(EV_ABS, ABS_MT_TRACKING_ID, -1);
    write(EV_KEY, BTN_TOUCH, 0);
    write(EV_SYN, SYN_REPORT, 0);

    ASSERT_TRUE(collector->WaitFor(2)) << "no swipe report from the virtual touchscreen";
    const std::vector<Quil::MotionData> reports = collector->Reports();
    EXPECT_EQ(reports[0].type, 10);
    EXPECT_EQ(reports[0].result, 1);
    EXPECT_EQ(reports[1].type, 10);
    EXPECT_EQ(reports[1].result, 2);
    EXPECT_EQ(reports[1].direction, 3);

    EXPECT_EQ(algo->Disable(10), 0);
    plugin.Destroy(algo);
    LinuxPlatform::SetLogSink({});
    LinuxPlatform::SetLogLevel(8);
    LinuxPlatform::SetTouchDevice("");
}

}  // namespace
}  // namespace Tarvo::Linux
