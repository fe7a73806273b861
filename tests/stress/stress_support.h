// What the stress drivers share: the plug-in loaded as a host loads it, a host callback
// with a hook, and a guard that turns a hang into a failure instead of a stuck run.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "host_platform.h"
#include "i_motion_algo.h"

namespace Tarvo::Quil::Stress {

// The plug-in, dlopen'ed for the object's lifetime; unloaded when it goes.
class LoadedPlugin {
public:
    LoadedPlugin()
    {
        handle_ = dlopen(QUIL_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
        if (handle_ == nullptr) {
            ADD_FAILURE() << "dlopen: " << dlerror();
            return;
        }
        create_ = reinterpret_cast<IMotionAlgo* (*)()>(dlsym(handle_, "Create"));
        destroy_ = reinterpret_cast<void (*)(IMotionAlgo*)>(dlsym(handle_, "Destroy"));
    }
    ~LoadedPlugin()
    {
        if (handle_ != nullptr) {
            dlclose(handle_);
        }
    }
    LoadedPlugin(const LoadedPlugin&) = delete;
    LoadedPlugin& operator=(const LoadedPlugin&) = delete;

    IMotionAlgo* Create() const { return create_ != nullptr ? create_() : nullptr; }
    void Destroy(IMotionAlgo* algo) const
    {
        if (destroy_ != nullptr) {
            destroy_(algo);
        }
    }

private:
    void* handle_ = nullptr;
    IMotionAlgo* (*create_)() = nullptr;
    void (*destroy_)(IMotionAlgo*) = nullptr;
};

// Records every report and runs `hook` (when set) on the reporting worker.
class HookCallback : public IMotionAlgo::Callback {
public:
    std::function<void(const MotionData&)> hook;

    int OnMotionChanged(const MotionData& data) override
    {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            reports_.push_back(data);
        }
        if (hook) {
            hook(data);
        }
        return 0;
    }
    size_t CountOf(int type) const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        size_t n = 0;
        for (const MotionData& report : reports_) {
            n += report.type == type ? 1 : 0;
        }
        return n;
    }

private:
    mutable std::mutex mutex_;
    std::vector<MotionData> reports_;
};

// Runs `work` and fails the whole run if it does not finish within `seconds`: a hang
// cannot be recovered from, so the process ends with a clear message.
inline void FinishesWithin(int seconds, const char* what, std::function<void()> work)
{
    std::packaged_task<void()> task(std::move(work));
    std::future<void> done = task.get_future();
    std::thread runner(std::move(task));
    if (done.wait_for(std::chrono::seconds(seconds)) != std::future_status::ready) {
        std::fprintf(stderr, "HANG: %s did not finish within %d s\n", what, seconds);
        std::fflush(stderr);
        std::_Exit(3);
    }
    runner.join();
}

// Accelerometer poses that make flip and rotation report (values as the device gives
// them, m/s²).
inline void InjectFlip()
{
    using Host::HostPlatform;
    HostPlatform::InjectSample(1, {0.1F, 0.2F, 9.8F});
    HostPlatform::InjectSample(1, {6.9F, 0.2F, 6.9F});
    HostPlatform::InjectSample(1, {0.1F, 0.2F, 9.8F});
    HostPlatform::InjectSample(1, {0.1F, 0.2F, -9.8F});
}
inline void InjectRotation(int i)
{
    if (i % 2 == 0) {
        Host::HostPlatform::InjectSample(1, {0.21F, 9.62F, 1.35F});  // upright
    } else {
        Host::HostPlatform::InjectSample(1, {-9.61F, 0.42F, 1.33F});  // on its left side
    }
}
// A one-finger swipe in from the left edge: two reports (start and end).
inline void InjectSwipe()
{
    using Host::HostPlatform;
    HostPlatform::InjectTouch(2, 0, 24, 1210, {0});
    for (int x = 40; x <= 400; x += 30) {
        HostPlatform::InjectTouch(3, 0, x, 1212, {0});
    }
    HostPlatform::InjectTouch(4, 0, 400, 1212, {0});
}

// Every driver starts and ends on a fresh platform.
class PlatformTest : public testing::Test {
protected:
    void SetUp() override { Host::HostPlatform::Reset(); }
    void TearDown() override { Host::HostPlatform::Reset(); }
};

// Nothing of a host object is left on the platform.
inline void ExpectPlatformClean()
{
    using Host::HostPlatform;
    EXPECT_EQ(HostPlatform::SubscriptionCount(), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(1), 0);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 0);
}

constexpr int kSensorTypes[] = {0, 2, 3, 4, 6, 7};
constexpr int kGestureTypes[] = {9, 10, 11, 12, 13};

}  // namespace Tarvo::Quil::Stress
