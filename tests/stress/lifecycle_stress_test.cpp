// Host objects created and destroyed while samples and touches keep arriving, the
// plug-in unloaded under load, the process ending under load, two objects at once.
#include <dirent.h>
#include <spawn.h>
#include <sys/wait.h>

#include <atomic>
#include <memory>

#include "stress_support.h"

extern char** environ;

namespace Tarvo::Quil::Stress {
namespace {

using Host::HostPlatform;

// Keeps accelerometer samples (and, if asked, touches) coming from other threads.
class Feeder {
public:
    explicit Feeder(int threads, bool touches = false)
    {
        for (int t = 0; t < threads; ++t) {
            threads_.emplace_back([this, t, touches] {
                for (int i = 0; !stop_; ++i) {
                    InjectRotation(i + t);
                    if (touches && i % 4 == 0) {
                        HostPlatform::InjectTouch(i % 8 == 0 ? 2 : 3, 0, 24 + i % 500, 1210, {0});
                    }
                    if (i % 64 == 0) {
                        std::this_thread::yield();  // let the queues drain now and then
                    }
                }
            });
        }
    }
    ~Feeder()
    {
        stop_ = true;
        for (std::thread& thread : threads_) {
            thread.join();
        }
        EXPECT_TRUE(HostPlatform::WaitIdle(60000));
    }

private:
    std::atomic<bool> stop_{false};
    std::vector<std::thread> threads_;
};

int CountEntries(const char* dir)
{
    int count = 0;
    if (DIR* d = opendir(dir)) {
        while (readdir(d) != nullptr) {
            ++count;
        }
        closedir(d);
    }
    return count;
}

using LifecycleStress = PlatformTest;

TEST_F(LifecycleStress, UnloadAfterDestroyWithoutDisableUnderLoad)
{
    Feeder feeder(1, true);
    for (int cycle = 0; cycle < 40; ++cycle) {
        LoadedPlugin plugin;
        IMotionAlgo* algo = plugin.Create();
        ASSERT_NE(algo, nullptr);
        algo->RegisterCallback(std::make_shared<HookCallback>());
        ASSERT_EQ(algo->Enable(3), 0);
        ASSERT_EQ(algo->Enable(4), 0);
        ASSERT_EQ(algo->Enable(10), 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        plugin.Destroy(algo);
        ExpectPlatformClean();
        // The plug-in is unloaded here while the feeder goes on: nothing may reach it.
    }
}

TEST_F(LifecycleStress, ProcessExitUnderLoadEndsCleanly)
{
    // Each child enables every motion, floods samples from two threads and exits.
    const char* child = QUIL_EXIT_CHILD_PATH;
    for (int run = 0; run < 30; ++run) {
        pid_t pid = 0;
        char* argv[] = {const_cast<char*>(child), const_cast<char*>(QUIL_PLUGIN_PATH), nullptr};
        ASSERT_EQ(posix_spawn(&pid, child, nullptr, nullptr, argv, environ), 0);
        int status = 0;
        ASSERT_EQ(waitpid(pid, &status, 0), pid);
        ASSERT_TRUE(WIFEXITED(status)) << "run " << run << ": killed by signal "
                                       << (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
        ASSERT_EQ(WEXITSTATUS(status), 0) << "run " << run;
    }
}

TEST_F(LifecycleStress, SecondLiveObjectIsRefused)
{
    LoadedPlugin plugin;
    auto first = std::make_shared<HookCallback>();
    IMotionAlgo* algo = plugin.Create();
    ASSERT_NE(algo, nullptr);
    algo->RegisterCallback(first);
    EXPECT_EQ(plugin.Create(), nullptr);

    // The refusal leaves the live object working.
    ASSERT_EQ(algo->Enable(3), 0);
    InjectFlip();
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_EQ(first->CountOf(3), 2U);
    plugin.Destroy(algo);

    // Once it is gone, a new one may be made.
    IMotionAlgo* again = plugin.Create();
    ASSERT_NE(again, nullptr);
    plugin.Destroy(again);
}

TEST_F(LifecycleStress, SoakLeavesNoThreadDescriptorSubscriptionOrMonitor)
{
    // Warm up once, so threads the platform keeps for good (its delivery threads) are
    // part of the baseline.
    {
        LoadedPlugin plugin;
        IMotionAlgo* algo = plugin.Create();
        algo->Enable(3);
        algo->Enable(9);
        InjectRotation(0);
        HostPlatform::InjectTouch(2, 0, 10, 10, {0});
        ASSERT_TRUE(HostPlatform::WaitIdle());
        plugin.Destroy(algo);
    }
    ASSERT_TRUE(HostPlatform::WaitIdle());
    const int threadsBefore = CountEntries("/proc/self/task");
    const int descriptorsBefore = CountEntries("/proc/self/fd");

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(12);
    int cycles = 0;
    {
        Feeder feeder(2, true);
        std::unique_ptr<LoadedPlugin> plugin;
        for (; cycles < 2000 && std::chrono::steady_clock::now() < deadline; ++cycles) {
            if (plugin == nullptr || cycles % 25 == 0) {
                plugin.reset();  // unload, then load again
                plugin = std::make_unique<LoadedPlugin>();
            }
            IMotionAlgo* algo = plugin->Create();
            ASSERT_NE(algo, nullptr);
            algo->RegisterCallback(std::make_shared<HookCallback>());
            for (int type : kSensorTypes) {
                algo->Enable(type);
            }
            for (int type : kGestureTypes) {
                algo->Enable(type);
            }
            if (cycles % 3 == 0) {
                for (int type : kSensorTypes) {
                    algo->Disable(type);
                }
                for (int type : kGestureTypes) {
                    algo->Disable(type);
                }
            }
            plugin->Destroy(algo);
            ASSERT_EQ(HostPlatform::SubscriptionCount(), 0) << "cycle " << cycles;
            ASSERT_EQ(HostPlatform::InstalledMonitorCount(), 0) << "cycle " << cycles;
        }
    }
    EXPECT_GE(cycles, 50);
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_EQ(CountEntries("/proc/self/task"), threadsBefore);
    EXPECT_EQ(CountEntries("/proc/self/fd"), descriptorsBefore);
    ExpectPlatformClean();
}

}  // namespace
}  // namespace Tarvo::Quil::Stress
