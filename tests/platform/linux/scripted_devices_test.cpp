// Scripted devices: what a host with no devices declares present, and the samples and
// touches it plays, through the same paths and observers as a real device's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "fake_iio_tree.h"
#include "i_motion_algo.h"
#include "input_manager.h"
#include "linux_platform.h"
#include "plugin_loader.h"
#include "recording_callback.h"
#include "sensor_service_client.h"

namespace Tarvo::Linux {
namespace {

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

// The presence observer's calls, as they come on the layer's thread.
class PresenceLog {
public:
    void Add(const DevicePresence& presence)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        seen_.push_back(presence);
        threads_.push_back(std::this_thread::get_id());
        changed_.notify_all();
    }
    bool WaitFor(size_t count)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(5),
                                 [&] { return seen_.size() >= count; });
    }
    std::vector<DevicePresence> Seen()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return seen_;
    }
    std::vector<std::thread::id> Threads()
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return threads_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<DevicePresence> seen_;
    std::vector<std::thread::id> threads_;
};

DevicePresence Scripted(std::vector<int32_t> sensors, std::string touchscreen = "")
{
    DevicePresence presence;
    presence.sensors = std::move(sensors);
    presence.touchscreen = std::move(touchscreen);
    return presence;
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

// A scripted host never looks at the real device: a sysfs tree with an accelerometer
// is ignored once the host has said what is present.
TEST(ScriptedDevicesTest, PresenceIsWhatTheHostSaysAndNoDeviceIsRead)
{
    Tarvo::Test::FakeIioTree tree;
    tree.AddDevice(0, "accel");
    tree.Accel(0, 0, 0, 1);
    LinuxPlatform::SetSysfsRoot(tree.Root());
    ASSERT_THAT(LinuxPlatform::Presence().sensors, ElementsAre(kAccel));

    LinuxPlatform::UseScriptedDevices(Scripted({12, 5, 5}, "/dev/input/event9"));
    const DevicePresence presence = LinuxPlatform::Presence();
    EXPECT_THAT(presence.sensors, ElementsAre(kLight, SENSOR_TYPE_ID_PROXIMITY));
    EXPECT_EQ(presence.touchscreen, "/dev/input/event9");
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "/dev/input/event9");

    SensorUser user{"test", &Collect, nullptr};
    EXPECT_NE(SubscribeSensor(kAccel, &user), 0) << "the tree's accelerometer is not used";
    SensorInfo* list = nullptr;
    int32_t count = 0;
    ASSERT_EQ(GetAllSensors(&list, &count), 0);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(list[0].sensorTypeId, kLight);
    LinuxPlatform::SetSysfsRoot("/sys");
}

TEST(ScriptedDevicesTest, TheObserverHearsEachChangeOnALayerThread)
{
    PresenceLog log;
    LinuxPlatform::UseScriptedDevices(Scripted({kAccel}));
    LinuxPlatform::SetPresenceObserver([&log](const DevicePresence& p) { log.Add(p); });
    LinuxPlatform::UseScriptedDevices(Scripted({kAccel}));  // no change: not told
    LinuxPlatform::UseScriptedDevices(Scripted({kAccel, kLight}, "touch"));
    ASSERT_TRUE(log.WaitFor(1));
    LinuxPlatform::UseScriptedDevices(Scripted({}));
    ASSERT_TRUE(log.WaitFor(2));

    const std::vector<DevicePresence> seen = log.Seen();
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_EQ(seen[0], Scripted({kAccel, kLight}, "touch"));
    EXPECT_EQ(seen[1], Scripted({}));
    EXPECT_NE(log.Threads()[0], std::this_thread::get_id());

    // Removed, it is not called again.
    LinuxPlatform::SetPresenceObserver({});
    LinuxPlatform::UseScriptedDevices(Scripted({kLight}));
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_THAT(log.Seen(), SizeIs(2));
}

// The observer may ask, change what is present and remove itself from inside, and a
// removal from outside waits for a call under way.
TEST(ScriptedDevicesTest, TheObserverMayCallTheLayerFromInside)
{
    PresenceLog log;
    std::mutex mutex;
    std::condition_variable released;
    bool release = false;
    LinuxPlatform::UseScriptedDevices(Scripted({}));
    LinuxPlatform::SetPresenceObserver([&](const DevicePresence& p) {
        log.Add(LinuxPlatform::Presence());
        if (p.sensors.size() == 1) {
            LinuxPlatform::UseScriptedDevices(Scripted({kAccel, kLight}));  // told next
        } else {
            std::unique_lock<std::mutex> lock(mutex);
            released.wait(lock, [&] { return release; });
            LinuxPlatform::SetPresenceObserver({});
        }
    });
    LinuxPlatform::UseScriptedDevices(Scripted({kAccel}));
    ASSERT_TRUE(log.WaitFor(2));

    std::thread remover([] { LinuxPlatform::SetPresenceObserver({}); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
    }
    released.notify_all();
    remover.join();  // returned only once the call under way had ended
    EXPECT_THAT(log.Seen(), ElementsAre(Scripted({kAccel}), Scripted({kAccel, kLight})));
}

TEST(ScriptedDevicesTest, PlayedSamplesReachOnlyTheActiveSubscribers)
{
    std::vector<SampleRecord> observed;
    LinuxPlatform::SetSampleObserver([&observed](const SampleRecord& r) { observed.push_back(r); });
    LinuxPlatform::PlaySample(kAccel, {1, 2, 3});  // not scripted yet: ignored
    LinuxPlatform::UseScriptedDevices(Scripted({kAccel}));
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
    LinuxPlatform::UseScriptedDevices(Scripted({}, "scripted"));
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

// The plug-in itself on scripted devices: a flip and a swipe played as a host would
// play them give the reports quil-replay gives for the bundled examples.
TEST(ScriptedDevicesTest, ThePluginRecognisesWhatIsPlayed)
{
    LinuxPlatform::UseScriptedDevices(Scripted({kAccel}, "scripted"));
    Tools::PluginLoader plugin;
    std::string error;
    ASSERT_TRUE(plugin.Load(QUIL_PLUGIN_PATH, error)) << error;
    Quil::IMotionAlgo* algo = plugin.Create();
    ASSERT_NE(algo, nullptr);
    auto callback = std::make_shared<Quil::Test::RecordingCallback>();
    algo->RegisterCallback(callback);
    ASSERT_EQ(algo->Enable(3), 0);
    ASSERT_EQ(algo->Enable(9), 0);
    for (const std::vector<float>& sample : std::vector<std::vector<float>>{
             {0.1f, 0.2f, 9.8f}, {6.9f, 0.2f, 6.9f}, {0.1f, 0.2f, 9.8f}, {0.1f, 0.2f, -9.8f}}) {
        LinuxPlatform::PlaySample(kAccel, sample);
    }
    LinuxPlatform::PlayTouch(Touch(2, 1331, 905));
    for (int32_t x = 1300; x >= 930; x -= 30) {
        LinuxPlatform::PlayTouch(Touch(3, x, 890));
    }
    LinuxPlatform::PlayTouch(Touch(4, 930, 884));
    // The workers report in their own time.
    for (int i = 0; i < 500 && callback->Reports().size() < 4; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(algo->Disable(3), 0);
    EXPECT_EQ(algo->Disable(9), 0);
    plugin.Destroy(algo);

    std::vector<std::pair<int, int>> reports;  // type, result
    for (const Quil::MotionData& data : callback->Reports()) {
        reports.emplace_back(data.type, data.result);
    }
    EXPECT_THAT(reports,
                ::testing::UnorderedElementsAre(std::make_pair(3, 1), std::make_pair(3, 0),
                                                std::make_pair(9, 1), std::make_pair(9, 2)));
}

}  // namespace
}  // namespace Tarvo::Linux
