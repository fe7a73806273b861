// Devices that come and go while the library uses them, as udev announces them: a
// vanished sensor or touchscreen is reported once, the library's subscriptions and
// monitors stay, and the device is used again when it returns; the presence observer
// hears each change.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <mutex>
#include <utility>
#include <vector>

#include "input_manager.h"
#include "layer_observers.h"
#include "linux_platform.h"
#include "sensor_service_client.h"
#include "umockdev_testbed.h"

namespace Tarvo::Linux {
namespace {

using Test::LogLines;
using Test::PresenceLog;
using Test::Present;
using Test::WaitUntil;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr int32_t kAccel = SENSOR_TYPE_ID_ACCELEROMETER;
constexpr int32_t kLight = SENSOR_TYPE_ID_AMBIENT_LIGHT;
const std::string kTouchscreens = std::string(QUIL_RECORDINGS_DIR) + "/touchscreens/";

std::mutex gMutex;
std::vector<std::pair<int32_t, float>> gSamples;  // sensor, last value

void Collect(SensorEvent* event)
{
    const float* data = reinterpret_cast<const float*>(event->data);
    std::lock_guard<std::mutex> lock(gMutex);
    gSamples.emplace_back(event->sensorTypeId, event->sensorTypeId == kAccel ? data[2] : data[0]);
}

size_t SamplesOf(int32_t type, float value)
{
    std::lock_guard<std::mutex> lock(gMutex);
    return std::count(gSamples.begin(), gSamples.end(), std::make_pair(type, value));
}

class HotplugTest : public ::testing::Test {
protected:
    void Start(int32_t type)
    {
        ASSERT_EQ(SubscribeSensor(type, &user_), 0);
        ASSERT_EQ(SetBatch(type, &user_, 20000000, 20000000), 0);
        ASSERT_EQ(ActivateSensor(type, &user_), 0);
    }
    void TearDown() override
    {
        for (int32_t type : {kAccel, kLight}) {
            UnsubscribeSensor(type, &user_);
        }
        LinuxPlatform::SetLogLevel(8);
    }
    // Events played before the reader has the node open would go to whoever had it
    // open then: wait for the reader's `count`th opening (told at info level).
    bool WaitUntilOpened(const std::string& node, size_t count)
    {
        return WaitUntil([&] { return log_.With("touch from " + node).size() == count; });
    }

    Tarvo::Test::UmockdevTestbed testbed_;
    LogLines log_;
    PresenceLog presence_;
    SensorUser user_{"test", &Collect, nullptr};
};

TEST_F(HotplugTest, ASensorThatComesLaterOrComesBackIsUsedAndKeepsItsSubscribers)
{
    EXPECT_NE(SubscribeSensor(kAccel, &user_), 0) << "none yet";
    const std::string accel = testbed_.AddAccelerometer(0, 0, 0, 980);
    testbed_.AddIio(1, {{"name", "als"}, {"in_illuminance_input", "40"}});
    ASSERT_TRUE(presence_.WaitForLast(Present({kAccel, kLight})));
    Start(kAccel);
    Start(kLight);
    ASSERT_TRUE(WaitUntil([] { return SamplesOf(kAccel, 9.8f) > 0; }));

    testbed_.Remove(accel);
    ASSERT_TRUE(presence_.WaitForLast(Present({kLight})));
    const size_t whileGone = SamplesOf(kAccel, 9.8f);
    const size_t light = SamplesOf(kLight, 40);
    ASSERT_TRUE(WaitUntil([light] { return SamplesOf(kLight, 40) >= light + 5; }));
    EXPECT_EQ(SamplesOf(kAccel, 9.8f), whileGone);

    // Back under another number, upside down: the same subscriber hears it, unasked.
    testbed_.AddAccelerometer(2, 0, 0, -980);
    ASSERT_TRUE(presence_.WaitForLast(Present({kAccel, kLight})));
    EXPECT_TRUE(WaitUntil([] { return SamplesOf(kAccel, -9.8f) > 0; }));

    EXPECT_THAT(log_.With("stopped delivering"),
                ElementsAre(::testing::HasSubstr("accelerometer iio:device0 (accel)")));
    EXPECT_THAT(log_.With("delivers again"),
                ElementsAre(::testing::HasSubstr("accelerometer iio:device2 (accel)")));
    // The first two may come as one.
    const std::vector<DevicePresence> seen = presence_.Seen();
    ASSERT_GE(seen.size(), 3u);
    EXPECT_THAT(
        std::vector<DevicePresence>(seen.end() - 3, seen.end()),
        ElementsAre(Present({kAccel, kLight}), Present({kLight}), Present({kAccel, kLight})));
}

// A touch monitor's view of the touchscreen: (action, pointer) per event.
class TouchLog {
public:
    TouchLog()
        : id_(MMI::InputManager::GetInstance()->AddMonitor(
              [this](std::shared_ptr<MMI::PointerEvent> event) {
                  std::lock_guard<std::mutex> lock(mutex_);
                  events_.emplace_back(event->GetPointerAction(), event->GetPointerId());
              }))
    {
    }
    ~TouchLog() { MMI::InputManager::GetInstance()->RemoveMonitor(id_); }
    std::vector<std::pair<int32_t, int32_t>> Events() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return events_;
    }
    size_t Count(int32_t action) const
    {
        const auto events = Events();
        return std::count_if(events.begin(), events.end(),
                             [action](const auto& e) { return e.first == action; });
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::pair<int32_t, int32_t>> events_;
    int32_t id_;
};

// The first report of a recording, two fingers put down and held there.
std::string FingersDown()
{
    const std::string path = ::testing::TempDir() + "/fingers-down.events";
    std::ifstream in(kTouchscreens + "EP0430M09.2-fingers-touch-release.events");
    std::ofstream out(path);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("E:", 0) == 0) {
            out << line << "\n";
            if (line.find("0000 0000 0000") != std::string::npos) {
                break;  // the first SYN_REPORT
            }
        }
    }
    return path;
}

// A second touchscreen, even one that comes first in number order, does not take over
// from the one in use; it is used once the first has gone.
TEST_F(HotplugTest, TheTouchscreenInUseStaysInUse)
{
    const std::string wacom = testbed_.AddTouchscreen("Wacom-ISDv4-E6-Finger");  // event4
    ASSERT_TRUE(presence_.WaitForLast(Present({}, wacom)));
    const std::string ep = testbed_.AddTouchscreen("EP0430M09");  // event3
    EXPECT_EQ(LinuxPlatform::Presence(), Present({}, wacom));
    testbed_.RemoveTouchscreen(wacom);
    EXPECT_TRUE(presence_.WaitForLast(Present({}, ep)));
    EXPECT_THAT(presence_.Seen(), ElementsAre(Present({}, wacom), Present({}, ep)));
}

// The monitor is installed before there is anything to read.
TEST_F(HotplugTest, ATouchscreenThatComesLaterOrGoesAndComesBackKeepsItsMonitor)
{
    LinuxPlatform::SetLogLevel(4);
    TouchLog touches;
    const std::string node = testbed_.AddTouchscreen("EP0430M09");
    ASSERT_TRUE(presence_.WaitForLast(Present({}, node)));
    ASSERT_TRUE(WaitUntilOpened(node, 1));
    testbed_.PlayEvents(node, FingersDown());
    ASSERT_TRUE(
        WaitUntil([&] { return touches.Count(MMI::PointerEvent::POINTER_ACTION_DOWN) == 2; }));

    testbed_.RemoveTouchscreen(node);
    ASSERT_TRUE(presence_.WaitForLast(Present({})));
    // No gesture waits for an up that will never come.
    EXPECT_TRUE(
        WaitUntil([&] { return touches.Count(MMI::PointerEvent::POINTER_ACTION_UP) == 2; }));

    // Plugged in again, it comes back as another node.
    const std::string again = testbed_.AddTouchscreen("EP0430M09", 9);
    ASSERT_TRUE(presence_.WaitForLast(Present({}, again)));
    ASSERT_TRUE(WaitUntilOpened(again, 1));
    testbed_.PlayEvents(again, kTouchscreens + "EP0430M09.2-fingers-touch-release.events");
    EXPECT_TRUE(
        WaitUntil([&] { return touches.Count(MMI::PointerEvent::POINTER_ACTION_UP) == 4; }));

    EXPECT_THAT(log_.With("went away"),
                ElementsAre(::testing::HasSubstr("touchscreen /dev/input/event3 went away")));
    EXPECT_THAT(log_.With("is back"), SizeIs(1));
}

}  // namespace
}  // namespace Tarvo::Linux
