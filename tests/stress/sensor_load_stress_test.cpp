// The sensor channel under load, in process: a worker that falls far behind, and
// subscriptions changing while another sensor streams.
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>

#include "host_platform.h"
#include "motion_algo_manager.h"
#include "recording_callback.h"
#include "sensor_connection.h"
#include "stress_support.h"

namespace Tarvo::Quil::Stress {
namespace {

using Host::HostPlatform;

using SensorLoadStress = PlatformTest;

TEST_F(SensorLoadStress, QueuedSamplesKeepTheirOwnValuesWhenTheWorkerFallsBehind)
{
    // Far more samples than the service keeps data blocks for, queued while the
    // worker is held inside the first one.
    constexpr int kSamples = 5000;
    constexpr int kType = 90;
    SensorConnection& connection = SensorConnection::GetInstance();
    std::mutex mutex;
    std::condition_variable released;
    bool release = false;
    std::vector<float> seen;
    connection.RegisterEvent(kType, [&](int sensorTypeId, void* data) {
        if (sensorTypeId != 1 || data == nullptr) {
            return 0;
        }
        float value = 0.0F;
        std::memcpy(&value, data, sizeof(value));
        std::unique_lock<std::mutex> lock(mutex);
        released.wait(lock, [&] { return release; });
        seen.push_back(value);
        return 0;
    });
    ASSERT_TRUE(connection.RegisterSensor(kType, 1));
    for (int i = 0; i < kSamples; ++i) {
        HostPlatform::InjectSample(1, {static_cast<float>(i), 0.0F, 9.8F});
    }
    // Let the service deliver everything before the worker may go on.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
    }
    released.notify_all();
    ASSERT_TRUE(HostPlatform::WaitIdle(60000));
    connection.UnregisterEvent(kType);
    connection.UnregisterSensor(kType, 1);
    ASSERT_EQ(seen.size(), static_cast<size_t>(kSamples));
    for (int i = 0; i < kSamples; ++i) {
        ASSERT_EQ(seen[i], static_cast<float>(i)) << "sample " << i;
    }
}

TEST_F(SensorLoadStress, SubscriptionsChangeWhileAnotherSensorStreams)
{
    MotionAlgoManager manager;
    auto callback = std::make_shared<Quil::Test::RecordingCallback>();
    manager.RegisterCallback(callback);
    ASSERT_EQ(manager.Enable(4), 0);
    std::atomic<bool> stop{false};
    std::thread feeder([&] {
        for (int i = 0; !stop || i < 2000; ++i) {
            InjectRotation(i);
            if (i % 16 == 0) {
                std::this_thread::yield();
            }
        }
    });
    for (int round = 0; round < 200; ++round) {
        ASSERT_EQ(manager.Enable(7), 0);  // pocket: proximity and light as well
        ASSERT_EQ(manager.Enable(2), 0);
        ASSERT_EQ(manager.Disable(7), 0);
        ASSERT_EQ(manager.Disable(2), 0);
    }
    stop = true;
    feeder.join();
    ASSERT_TRUE(HostPlatform::WaitIdle(60000));
    EXPECT_FALSE(callback->Reports().empty());
    ASSERT_EQ(manager.Disable(4), 0);
    EXPECT_EQ(HostPlatform::SubscriptionCount(), 0);
}

}  // namespace
}  // namespace Tarvo::Quil::Stress
