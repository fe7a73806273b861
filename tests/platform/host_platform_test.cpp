// The simulated device behaves as a real platform does: these are its rules.
#include "host_platform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "input_manager.h"
#include "log_capture.h"
#include "platform_log.h"
#include "sensor_service_client.h"
#include "thread_support.h"

namespace Tarvo::Host::Test {
namespace {

using testing::ElementsAre;

// A subscriber record of its own, counting what it is given.
struct Subscriber {
    static std::mutex mutex;
    static std::vector<std::pair<const void*, std::vector<float>>> received;

    static void Callback(SensorEvent* event)
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (event == nullptr) {
            received.emplace_back(nullptr, std::vector<float>{});
            return;
        }
        std::vector<float> values(event->dataLen / sizeof(float));
        std::memcpy(values.data(), event->data, values.size() * sizeof(float));
        received.emplace_back(event, values);
    }

    SensorUser user{{}, Callback, nullptr};
};
std::mutex Subscriber::mutex;
std::vector<std::pair<const void*, std::vector<float>>> Subscriber::received;

class HostSensorServiceTest : public testing::Test {
protected:
    void SetUp() override
    {
        HostPlatform::Reset();
        Subscriber::received.clear();
    }
    void TearDown() override { HostPlatform::Reset(); }

    Subscriber a_;
    Subscriber b_;
};

// The subscription rules themselves are the shared table's (tests/platform/common).
TEST_F(HostSensorServiceTest, SubscriptionIsToTheDevicesSensors)
{
    EXPECT_NE(SubscribeSensor(2, &a_.user), 0);  // not in the device's list
    EXPECT_NE(SetBatch(1, &a_.user, 1, 1), 0);   // the table's refusals are errors
    EXPECT_EQ(SubscribeSensor(1, &a_.user), 0);
    EXPECT_EQ(SetBatch(1, &a_.user, 100000000, 200000000), 0);
    EXPECT_EQ(ActivateSensor(1, &a_.user), 0);
    EXPECT_EQ(HostPlatform::GetSubscription(&a_.user, 1).reportInterval, 200000000);
    HostPlatform::SetDeviceSensors({5});  // existing subscriptions keep delivering
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(1), 1);
    EXPECT_EQ(UnsubscribeSensor(1, &a_.user), 0);
}

// Which calls a fault hits and how heal matches it are in the host traces; the names
// the trace records use are looked up here.
TEST_F(HostSensorServiceTest, SensorCallNamesAreExact)
{
    EXPECT_EQ(SensorCallFromName("SetBatch"), SensorCall::SET_BATCH);
    EXPECT_FALSE(SensorCallFromName("setbatch").has_value());
    EXPECT_STREQ(SensorCallName(SensorCall::DEACTIVATE_SENSOR), "DeactivateSensor");
}

// A null event goes once to each subscriber record with an active sensor.
TEST_F(HostSensorServiceTest, SamplesReachActiveSubscribersOnlyZeroPaddedNullEventsOnce)
{
    for (Subscriber* s : {&a_, &b_}) {
        SubscribeSensor(1, &s->user);
        SetBatch(1, &s->user, 1, 1);
    }
    ActivateSensor(1, &a_.user);  // b is subscribed but not active
    SubscribeSensor(12, &a_.user);
    ActivateSensor(12, &a_.user);
    HostPlatform::InjectSample(1, {1.5F, 2.5F});
    HostPlatform::InjectSample(5, {300.0F});  // nobody activated light
    HostPlatform::InjectNullEvent();
    ASSERT_TRUE(HostPlatform::WaitIdle());
    ASSERT_EQ(Subscriber::received.size(), 2U);
    EXPECT_THAT(Subscriber::received[0].second, ElementsAre(1.5F, 2.5F, 0.0F, 0.0F));
    EXPECT_EQ(Subscriber::received[1].first, nullptr);
}

// Delivered on the injecting thread, a sample has arrived when the injection returns,
// and never overtakes one still queued for the service's own thread.
TEST_F(HostSensorServiceTest, InlineDeliveryComesAfterWhatIsQueued)
{
    SubscribeSensor(1, &a_.user);
    ActivateSensor(1, &a_.user);
    constexpr int kEach = 200;
    for (int i = 0; i < kEach; ++i) {
        HostPlatform::InjectSample(1, {static_cast<float>(i)});
    }
    HostPlatform::SetInlineDelivery(true);
    for (int i = kEach; i < 2 * kEach; ++i) {
        HostPlatform::InjectSample(1, {static_cast<float>(i)});
        std::lock_guard<std::mutex> lock(Subscriber::mutex);
        ASSERT_EQ(Subscriber::received.size(), static_cast<size_t>(i + 1));
    }
    HostPlatform::SetInlineDelivery(false);
    ASSERT_TRUE(HostPlatform::WaitIdle());
    for (int i = 0; i < 2 * kEach; ++i) {
        EXPECT_EQ(Subscriber::received[i].second[0], static_cast<float>(i)) << i;
    }
}

// A client as the library is one: each delivery posts the semaphore once.
sem_t gSem;
SensorUser gPoster{{}, [](SensorEvent*) { SemPost(&gSem); }, nullptr};

// Posts made inside inline deliveries are held and let go a batch at a time, the rest
// of a batch as credits: each still ends exactly one wait, none is lost at the wait
// for idle, and a post made outside a delivery goes at once.
TEST_F(HostSensorServiceTest, WakeBatchHoldsOnlyDeliveryPostsAndLosesNone)
{
    constexpr int kSamples = 100;  // twelve batches and four held at the end
    SemInit(&gSem, 0, 0);
    std::atomic<int> taken{0};
    std::thread worker([&taken] {
        for (int i = 0; i <= kSamples; ++i) {
            SemWait(&gSem);
            ++taken;
        }
    });
    SubscribeSensor(1, &gPoster);
    ActivateSensor(1, &gPoster);
    HostPlatform::SetInlineDelivery(true);
    HostPlatform::SetWakeBatch(8);
    for (int i = 0; i < kSamples; ++i) {
        HostPlatform::InjectSample(1, {static_cast<float>(i)});
    }
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_EQ(taken, kSamples);  // the worker waits again, with nothing left to take

    SemPost(&gSem);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (taken == kSamples && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(taken, kSamples + 1);
    if (taken == kSamples) {
        HostPlatform::SetWakeBatch(0);  // lets the held post go, so the worker ends
    }
    worker.join();
    HostPlatform::SetWakeBatch(0);
    SemDestroy(&gSem);
}

// Posts held for a semaphore that is destroyed before they go are dropped: they never
// reach a new semaphore made at the same address.
TEST_F(HostSensorServiceTest, HeldPostsNeverReachASemaphoreMadeAfterTheirs)
{
    SemInit(&gSem, 0, 0);
    SubscribeSensor(1, &gPoster);
    ActivateSensor(1, &gPoster);
    HostPlatform::SetInlineDelivery(true);
    HostPlatform::SetWakeBatch(8);
    HostPlatform::InjectSample(1, {1.0F});
    HostPlatform::InjectSample(1, {2.0F});
    SemDestroy(&gSem);
    SemInit(&gSem, 0, 0);
    HostPlatform::SetWakeBatch(0);  // lets go of what is held
    int value = -1;
    sem_getvalue(&gSem, &value);
    EXPECT_EQ(value, 0);
    SemDestroy(&gSem);
    EXPECT_TRUE(HostPlatform::WaitIdle());
}

// Monitor ids themselves are the shared registry's (tests/platform/common).
TEST(HostInputServiceTest, EveryInstalledMonitorGetsEveryEventQueuedOrInline)
{
    HostPlatform::Reset();
    auto* input = MMI::InputManager::GetInstance();
    std::atomic<int> calls{0};
    auto monitor = [&calls](std::shared_ptr<MMI::PointerEvent>) { ++calls; };
    EXPECT_EQ(input->AddMonitor(monitor), 1);
    EXPECT_EQ(input->AddMonitor(monitor), 2);
    HostPlatform::InjectTouch(2, 0, 1, 2, {0});
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_EQ(calls, 2);
    HostPlatform::SetInlineDelivery(true);  // delivered before the injection returns
    HostPlatform::InjectTouch(3, 0, 1, 2, {0});
    EXPECT_EQ(calls, 4);
    HostPlatform::SetInlineDelivery(false);
    input->RemoveMonitor(1);
    input->RemoveMonitor(2);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 0);
    HostPlatform::Reset();
}

TEST(HostLogTest, LevelFilterAndRendering)
{
    HostPlatform::Reset();
    Quil::Test::LogCapture log(5);
    EXPECT_FALSE(PlatformLogIsLoggable(0xD002210, "T", LOG_LEVEL_INFO));
    EXPECT_TRUE(PlatformLogIsLoggable(0xD002210, "T", LOG_LEVEL_WARN));
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_INFO, 0xD002210, "T", "in %{public}s, hidden", "X");
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_ERROR, 0xD002210, "Tag",
                     "in %{public}s, x:%{public}d,y:%{private}lf,%%", "Enable", 3, 1.5);
    const auto lines = log.Lines();
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(FormatLogLine(lines[0]), "E D002210/Tag: in Enable, x:3,y:1.500000,%");
}

}  // namespace
}  // namespace Tarvo::Host::Test
