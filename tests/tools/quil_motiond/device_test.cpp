// quil-motiond on emulated devices (umockdev): the layer's udev, sysfs and evdev paths
// run unchanged while the tests plug a touchscreen out and in, and play a real
// touchscreen recording into it. Sensors coming and going are the layer's tests and, in
// the service, the scripted devices'. This binary runs under umockdev's preload
// library, and the service it starts inherits the testbed.
#include <dirent.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "service_fixture.h"
#include "umockdev_testbed.h"

namespace Tarvo::Test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

// Context switches so far of a process's threads: each one a wake-up. Under
// ThreadSanitizer its background thread, which has no name, wakes up on its own; the
// service names all its threads but the main one, so unnamed others are left out there.
long Switches(pid_t pid)
{
#if defined(__SANITIZE_THREAD__)
    constexpr bool kSkipUnnamed = true;
#else
    constexpr bool kSkipUnnamed = false;
#endif
    const std::string proc = "/proc/" + std::to_string(pid);
    std::string program;
    std::getline(std::ifstream(proc + "/comm"), program);
    long total = 0;
    DIR* dir = opendir((proc + "/task").c_str());
    if (dir == nullptr) {
        return total;
    }
    while (dirent* entry = readdir(dir)) {
        const std::string task = proc + "/task/" + entry->d_name;
        std::string name;
        std::getline(std::ifstream(task + "/comm"), name);
        if (kSkipUnnamed && name == program && entry->d_name != std::to_string(pid)) {
            continue;
        }
        std::ifstream status(task + "/status");
        for (std::string line; std::getline(status, line);) {
            const size_t at = line.find("ctxt_switches:");
            if (at != std::string::npos) {
                total += std::stol(line.substr(at + 14));
            }
        }
    }
    closedir(dir);
    return total;
}

class MotiondDeviceTest : public ServiceFixture {
protected:
    UmockdevTestbed testbed_;
};

// A real recording (a one-finger swipe in from the left edge) played into an emulated
// touchscreen reaches the client holding swipe-right as the reports quil-replay gives
// for the imported recording; the touchscreen then goes and comes back, claims kept.
TEST_F(MotiondDeviceTest, ARecordedSwipeReachesItsClaimantAcrossAReplug)
{
    const std::string panel = "Wacom-ISDv4-E6-Finger";
    const std::string recording =
        std::string(QUIL_RECORDINGS_DIR) + "/touchscreens/" + panel + ".single-top-swipe.events";
    const std::vector<std::string> expected =
        LinesStartingWith(ReadFile(std::string(QUIL_RECORDINGS_DIR) + "/expected/touchscreens/" +
                                   panel + ".single-top-swipe.events.expected"),
                          "report");
    ASSERT_EQ(expected.size(), 2u);

    std::string node = testbed_.AddTouchscreen(panel);
    const group* own = getgrgid(getgid());
    ASSERT_NE(own, nullptr);
    StartService({"--gesture-group", own->gr_name});
    EXPECT_THAT(ServiceLog(), HasSubstr("touchscreen: " + node));
    auto client = StartClient({"claim:10", "ready", "receive:4:40"});
    ASSERT_TRUE(WaitForOut(*client, "ready")) << client->Err();
    ASSERT_TRUE(WaitForLog("enable 10 -> 0"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const std::string events = UmockdevTestbed::EventsOnly(recording);
    testbed_.PlayEvents(node, events);
    ASSERT_TRUE(WaitForOut(*client, "report type:10", 2, 20000)) << client->Out() << ServiceLog();

    testbed_.RemoveTouchscreen(node);
    ASSERT_TRUE(WaitForOut(*client, "available []")) << client->Out();
    node = testbed_.AddTouchscreen(panel, 17);
    ASSERT_TRUE(WaitForOut(*client, "available [9, 10, 11, 12, 13]"))
        << client->Out() << ServiceLog();
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    testbed_.PlayEvents(node, events);
    const ChildResult end = client->Wait(40000);
    const std::vector<std::string> reports = LinesStartingWith(end.out, "report");
    EXPECT_THAT(reports, ElementsAre(expected[0], expected[1], expected[0], expected[1]))
        << end.out << ServiceLog();
}

// Nothing is read while nothing is claimed: the service with a sensor and a touchscreen
// present, no claim, wakes up not once; a claim reads the sensor at its interval; after
// the release it sleeps again.
TEST_F(MotiondDeviceTest, NothingWakesTheServiceWhileNothingIsClaimed)
{
    const std::string accel = testbed_.AddAccelerometer(0, 10, 20, 980);
    testbed_.AddTouchscreen("EP0430M09");
    StartService({});
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const pid_t pid = service_->Pid();
    const auto wakeups = [pid](int ms) {
        const long before = Switches(pid);
        std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        return Switches(pid) - before;
    };
    EXPECT_EQ(wakeups(1000), 0) << ServiceLog();
    auto client = StartClient({"claim:3", "ready", "hold"});
    ASSERT_TRUE(WaitForOut(*client, "ready")) << client->Err();
    EXPECT_GE(wakeups(1000), 5) << "the claimed sensor is read every 100 ms";
    client->Signal(SIGKILL);
    client->Wait();
    ASSERT_TRUE(WaitForLog("disable 3 -> 0"));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(wakeups(1000), 0) << ServiceLog();
}

}  // namespace
}  // namespace Tarvo::Test
