// Nothing wakes the layer while nothing needs it: with no sensor active and no touch
// monitor, its threads wait without timeouts (counted by the context switches the
// kernel keeps for each thread), and an active sensor is read at its interval.
#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "input_manager.h"
#include "layer_observers.h"
#include "linux_platform.h"
#include "sensor_service_client.h"
#include "umockdev_testbed.h"

namespace Tarvo::Linux {
namespace {

using Test::LogLines;
using Test::PresenceLog;
using Test::WaitUntil;

constexpr int32_t kAccel = SENSOR_TYPE_ID_ACCELEROMETER;

// Context switches so far of each of the layer's threads, by name.
std::map<std::string, long> LayerSwitches()
{
    std::map<std::string, long> switches;
    DIR* tasks = opendir("/proc/self/task");
    if (tasks == nullptr) {
        return switches;
    }
    while (dirent* entry = readdir(tasks)) {
        const std::string dir = std::string("/proc/self/task/") + entry->d_name;
        std::string name;
        std::getline(std::ifstream(dir + "/comm"), name);
        if (name != "quil-sensors" && name != "quil-touch" && name != "quil-devices") {
            continue;
        }
        std::ifstream status(dir + "/status");
        for (std::string line; std::getline(status, line);) {
            // voluntary_ctxt_switches and nonvoluntary_ctxt_switches
            const size_t colon = line.find("ctxt_switches:");
            if (colon != std::string::npos) {
                switches[name] += std::stol(line.substr(colon + 14));
            }
        }
    }
    closedir(tasks);
    return switches;
}

std::atomic<int> gSamples{0};

void Count(SensorEvent*)
{
    ++gSamples;
}

TEST(IdleWakeupsTest, NothingWakesTheLayerWhileNothingIsActive)
{
    Tarvo::Test::UmockdevTestbed testbed;
    testbed.AddAccelerometer(0, 0, 0, 980);
    const std::string node = testbed.AddTouchscreen("EP0430M09");
    PresenceLog presence;
    LogLines log;
    LinuxPlatform::SetLogLevel(4);

    // Every thread of the layer started and used once, then left with nothing to do: a
    // subscription that is not active, a touchscreen without a monitor.
    SensorUser user{"idle", &Count, nullptr};
    ASSERT_EQ(SubscribeSensor(kAccel, &user), 0);
    ASSERT_EQ(SetBatch(kAccel, &user, 10000000, 10000000), 0);
    ASSERT_EQ(ActivateSensor(kAccel, &user), 0);
    ASSERT_TRUE(WaitUntil([] { return gSamples > 0; }));
    ASSERT_EQ(DeactivateSensor(kAccel, &user), 0);
    const int32_t monitor = MMI::InputManager::GetInstance()->AddMonitor([](auto) {});
    ASSERT_TRUE(WaitUntil([&] { return !log.With("touch from " + node).empty(); }));
    MMI::InputManager::GetInstance()->RemoveMonitor(monitor);
    ASSERT_TRUE(WaitUntil([] { return LayerSwitches().size() == 3; })) << "the layer's threads";
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // letting go of the node

    const std::map<std::string, long> before = LayerSwitches();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    EXPECT_EQ(LayerSwitches(), before) << "woken over a second of idleness";

    // An active sensor is read at its interval: 100 ms, some ten times a second.
    ASSERT_EQ(SetBatch(kAccel, &user, 100000000, 100000000), 0);
    ASSERT_EQ(ActivateSensor(kAccel, &user), 0);
    const std::map<std::string, long> polling = LayerSwitches();
    std::this_thread::sleep_for(std::chrono::seconds(1));
    const std::map<std::string, long> polled = LayerSwitches();
    EXPECT_GE(polled.at("quil-sensors") - polling.at("quil-sensors"), 5);
    EXPECT_EQ(polled.at("quil-devices"), polling.at("quil-devices"));
    EXPECT_EQ(polled.at("quil-touch"), polling.at("quil-touch"));
    EXPECT_EQ(UnsubscribeSensor(kAccel, &user), 0);
    LinuxPlatform::SetLogLevel(8);
}

}  // namespace
}  // namespace Tarvo::Linux
