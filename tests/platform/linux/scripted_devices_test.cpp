// Scripted devices: what a host with no devices declares present, and the samples and
// touches it plays, through the same paths and observers as a real device's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "input_manager.h"
#include "layer_observers.h"
#include "linux_platform.h"
#include "sensor_service_client.h"
#include "umockdev_testbed.h"

namespace Tarvo::Linux {
namespace {

using Test::PresenceLog;
using Test::Present;
using Test::WaitUntil;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr int32_t kAccel = SENSOR_TYPE_ID_ACCELEROMETER;
constexpr int32_t kLight = SENSOR_TYPE_ID_AMBIENT_LIGHT;

std::mutex gMutex;
std::vector<std::vector<float>> gSamples;

void Collect(SensorEvent* event)
{
    const float* data = reinterpret_cast<const float*>(event->data);
    std::lock_guard<std::mutex> lock(gMutex);
    gSamples.emplace_back(data, data + event->dataLen / sizeof(float));
}

std::vector<std::vector<float>> Samples()
{
    std::lock_guard<std::mutex> lock(gMutex);
    return gSamples;
}

TouchRecord Touch(int32_t action, int32_t x, int32_t y)
{
    TouchRecord touch;
    touch.action = action;
    touch.x = x;
    touch.y = y;
    touch.pointerIds = {0};
    return touch;
}

// A scripted host never looks at the real device: an accelerometer and a touchscreen
// are ignored once the host has said what is present, and so is udev's news of them.
TEST(ScriptedDevicesTest, PresenceIsWhatTheHostSaysAndNoDeviceIsRead)
{
    Tarvo::Test::UmockdevTestbed testbed;
    const std::string accel = testbed.AddAccelerometer(0, 0, 0, 1);
    testbed.AddTouchscreen("EP0430M09");
    ASSERT_EQ(LinuxPlatform::Presence(), Present({kAccel}, "/dev/input/event3"));

    LinuxPlatform::UseScriptedDevices(Present({12, 5, 5}, "/dev/input/event9"));
    const DevicePresence presence = LinuxPlatform::Presence();
    EXPECT_THAT(presence.sensors, ElementsAre(kLight, SENSOR_TYPE_ID_PROXIMITY));
    EXPECT_EQ(presence.touchscreen, "/dev/input/event9");
    testbed.Remove(accel);
    testbed.AddIio(1, {{"name", "als"}, {"in_illuminance_input", "4"}});
    EXPECT_EQ(LinuxPlatform::Presence(), presence);

    SensorUser user{"test", &Collect, nullptr};
    EXPECT_NE(SubscribeSensor(kAccel, &user), 0) << "the tree's accelerometer is not used";
    SensorInfo* list = nullptr;
    int32_t count = 0;
    ASSERT_EQ(GetAllSensors(&list, &count), 0);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(list[0].sensorTypeId, kLight);
    EXPECT_STREQ(list[0].sensorName, "scripted");
}

// Every sensor list handed out stays readable, and one handed out before is handed out
// again: sensors that come and go do not grow the store with each change.
TEST(ScriptedDevicesTest, ASensorListSeenBeforeIsHandedOutAgain)
{
    const auto list = [](std::vector<int32_t> sensors) {
        LinuxPlatform::UseScriptedDevices(Present(std::move(sensors)));
        SensorInfo* infos = nullptr;
        int32_t count = 0;
        EXPECT_EQ(GetAllSensors(&infos, &count), 0);
        return std::make_pair(infos, count);
    };
    const auto accel = list({kAccel});
    const auto both = list({kAccel, kLight});
    EXPECT_NE(both.first, accel.first);
    EXPECT_EQ(both.second, 2);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(list({kAccel}), accel);
        EXPECT_EQ(list({kAccel, kLight}), both);
    }
    EXPECT_EQ(accel.first[0].sensorTypeId, kAccel);
}

TEST(ScriptedDevicesTest, TheObserverHearsEachChangeOnALayerThread)
{
    LinuxPlatform::UseScriptedDevices(Present({kAccel}));
    std::optional<PresenceLog> log(std::in_place);
    LinuxPlatform::UseScriptedDevices(Present({kAccel}));  // no change: not told
    LinuxPlatform::UseScriptedDevices(Present({kAccel, kLight}, "touch"));
    ASSERT_TRUE(log->WaitForLast(Present({kAccel, kLight}, "touch")));
    LinuxPlatform::UseScriptedDevices(Present({}));
    ASSERT_TRUE(log->WaitForLast(Present({})));

    const std::vector<DevicePresence> seen = log->Seen();
    EXPECT_THAT(seen, ElementsAre(Present({kAccel, kLight}, "touch"), Present({})));
    EXPECT_NE(log->Threads()[0], std::this_thread::get_id());

    // Removed, it is not called again.
    LinuxPlatform::SetPresenceObserver({});
    LinuxPlatform::UseScriptedDevices(Present({kLight}));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(log->Seen(), seen);
}

// The observer may ask, change what is present and remove itself from inside, and a
// removal from outside waits for a call under way.
TEST(ScriptedDevicesTest, TheObserverMayCallTheLayerFromInside)
{
    std::mutex mutex;
    std::vector<DevicePresence> seen;
    std::condition_variable released;
    bool release = false;
    LinuxPlatform::UseScriptedDevices(Present({}));
    LinuxPlatform::SetPresenceObserver([&](const DevicePresence& p) {
        const DevicePresence now = LinuxPlatform::Presence();
        std::unique_lock<std::mutex> lock(mutex);
        seen.push_back(now);
        if (p.sensors.size() == 1) {
            lock.unlock();
            LinuxPlatform::UseScriptedDevices(Present({kAccel, kLight}));  // told next
        } else {
            released.wait(lock, [&] { return release; });
            lock.unlock();
            LinuxPlatform::SetPresenceObserver({});
        }
    });
    LinuxPlatform::UseScriptedDevices(Present({kAccel}));
    ASSERT_TRUE(WaitUntil([&] {
        std::lock_guard<std::mutex> lock(mutex);
        return seen.size() == 2;
    }));

    std::atomic<bool> removed{false};
    std::thread remover([&removed] {
        LinuxPlatform::SetPresenceObserver({});
        removed = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(removed) << "removed while the observer was still running";
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
    }
    released.notify_all();
    remover.join();
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_THAT(seen, ElementsAre(Present({kAccel}), Present({kAccel, kLight})));
}

TEST(ScriptedDevicesTest, PlayedSamplesReachOnlyTheActiveSubscribers)
{
    std::vector<SampleRecord> observed;
    LinuxPlatform::SetSampleObserver([&observed](const SampleRecord& r) { observed.push_back(r); });
    LinuxPlatform::PlaySample(kAccel, {1, 2, 3});  // not scripted yet: ignored
    LinuxPlatform::UseScriptedDevices(Present({kAccel}));
    SensorUser user{"test", &Collect, nullptr};
    EXPECT_NE(SubscribeSensor(kLight, &user), 0) << "not present";
    ASSERT_EQ(SubscribeSensor(kAccel, &user), 0);
    LinuxPlatform::PlaySample(kAccel, {9, 9, 9});  // subscribed, not active
    ASSERT_EQ(ActivateSensor(kAccel, &user), 0);
    LinuxPlatform::PlaySample(kAccel, {0.5f, -1, 9.8f});
    LinuxPlatform::PlaySample(kLight, {40});  // nobody has it
    ASSERT_EQ(DeactivateSensor(kAccel, &user), 0);
    LinuxPlatform::PlaySample(kAccel, {7, 7, 7});
    ASSERT_EQ(UnsubscribeSensor(kAccel, &user), 0);
    LinuxPlatform::SetSampleObserver({});

    EXPECT_THAT(Samples(), ElementsAre(ElementsAre(0.5f, -1, 9.8f, 0)));
    ASSERT_THAT(observed, SizeIs(1));
    EXPECT_EQ(observed[0].sensorTypeId, kAccel);
    EXPECT_GT(observed[0].timestampNs, 0);
}

TEST(ScriptedDevicesTest, PlayedTouchesReachTheMonitorsInstalledNow)
{
    std::vector<std::pair<int32_t, int32_t>> got;  // action, x
    std::vector<TouchRecord> observed;
    LinuxPlatform::SetTouchObserver([&observed](const TouchRecord& t) { observed.push_back(t); });
    LinuxPlatform::UseScriptedDevices(Present({}, "scripted"));
    LinuxPlatform::PlayTouch(Touch(2, 1, 1));  // no monitor yet
    MMI::InputManager* input = MMI::InputManager::GetInstance();
    const int32_t id = input->AddMonitor([&got](std::shared_ptr<MMI::PointerEvent> event) {
        MMI::PointerEvent::PointerItem item;
        ASSERT_TRUE(event->GetPointerItem(event->GetPointerId(), item));
        got.emplace_back(event->GetPointerAction(), item.GetDisplayX());
    });
    ASSERT_GT(id, 0);
    LinuxPlatform::PlayTouch(Touch(2, 100, 500));
    LinuxPlatform::PlayTouch(Touch(4, 300, 500));
    input->RemoveMonitor(id);
    LinuxPlatform::PlayTouch(Touch(2, 5, 5));
    LinuxPlatform::SetTouchObserver({});

    EXPECT_THAT(got, ElementsAre(std::make_pair(2, 100), std::make_pair(4, 300)));
    EXPECT_THAT(observed, SizeIs(2));
}

}  // namespace
}  // namespace Tarvo::Linux
