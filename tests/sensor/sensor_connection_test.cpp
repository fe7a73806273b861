#include "sensor_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "host_platform.h"

namespace Tarvo::Quil::Test {
namespace {

using Host::HostPlatform;
using Host::SensorCall;
using testing::ElementsAre;

constexpr int kTestType = 42;  // a motion type no recogniser uses

// Records what a bound recogniser entry point receives on the worker.
struct Received {
    std::mutex mutex;
    std::vector<std::pair<int, float>> samples;  // sensor type, first float

    std::function<int(int, void*)> Binding()
    {
        return [this](int sensorTypeId, void* data) {
            float first = 0.0F;
            std::memcpy(&first, data, sizeof(first));
            std::lock_guard<std::mutex> lock(mutex);
            samples.emplace_back(sensorTypeId, first);
            return 0;
        };
    }
};

class SensorConnectionTest : public testing::Test {
protected:
    void SetUp() override { HostPlatform::Reset(); }

    void TearDown() override
    {
        for (int type = kTestType; type <= kTestType + 3; ++type) {
            connection_.UnregisterEvent(type);
        }
        HostPlatform::Reset();
    }

    SensorConnection& connection_ = SensorConnection::GetInstance();
};

// Registering a type again replaces its binding; a null event is never queued.
TEST_F(SensorConnectionTest, SamplesOfSubscribedSensorsReachEveryBoundEntryPoint)
{
    Received replaced;
    Received first;
    Received second;
    connection_.RegisterEvent(kTestType, replaced.Binding());
    connection_.RegisterEvent(kTestType, first.Binding());
    connection_.RegisterEvent(kTestType + 1, second.Binding());
    ASSERT_TRUE(connection_.RegisterSensor(kTestType, 1));
    ASSERT_TRUE(connection_.RegisterSensor(kTestType, 12));

    HostPlatform::InjectNullEvent();
    HostPlatform::InjectSample(1, {1.5F, 0.0F, 0.0F});
    HostPlatform::InjectSample(12, {0.0F});
    HostPlatform::InjectSample(5, {300.0F});  // not subscribed: nobody receives it
    ASSERT_TRUE(HostPlatform::WaitIdle());

    EXPECT_TRUE(replaced.samples.empty());
    EXPECT_THAT(first.samples, ElementsAre(std::pair{1, 1.5F}, std::pair{12, 0.0F}));
    EXPECT_EQ(second.samples, first.samples);
    EXPECT_TRUE(connection_.UnregisterSensor(kTestType, 1));
    EXPECT_TRUE(connection_.UnregisterSensor(kTestType, 12));
}

// A report runs inside a binding, and the host may bind and unbind from it: a binding
// removed mid-sample is not called again, one added waits for the next sample, and a
// recogniser unbound from inside its own call outlives the call.
TEST_F(SensorConnectionTest, BindingsChangedDuringADispatchTakeEffectAsTheyHappen)
{
    Received second;
    Received third;
    Received added;
    auto owner = std::make_shared<int>(7);
    const std::weak_ptr<int> watch = owner;
    const int* value = owner.get();
    int firstCalls = 0;
    int seenInCall = 0;
    connection_.RegisterEvent(
        kTestType,
        [&, value](int, void*) {
            ++firstCalls;
            connection_.UnregisterEvent(kTestType);
            connection_.UnregisterEvent(kTestType + 1);
            connection_.RegisterEvent(kTestType + 3, added.Binding());
            seenInCall = *value;
            return 0;
        },
        std::move(owner));
    connection_.RegisterEvent(kTestType + 1, second.Binding());
    connection_.RegisterEvent(kTestType + 2, third.Binding());
    ASSERT_TRUE(connection_.RegisterSensor(kTestType, 1));

    HostPlatform::InjectSample(1, {1.0F, 0.0F, 0.0F});
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_EQ(seenInCall, 7);
    EXPECT_TRUE(watch.expired());  // let go once the sample was dispatched
    EXPECT_TRUE(second.samples.empty());
    EXPECT_EQ(third.samples.size(), 1U);
    EXPECT_TRUE(added.samples.empty());

    HostPlatform::InjectSample(1, {2.0F, 0.0F, 0.0F});
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_EQ(firstCalls, 1);
    EXPECT_EQ(third.samples.size(), 2U);
    EXPECT_EQ(added.samples.size(), 1U);
    connection_.UnregisterSensor(kTestType, 1);
}

// Failing subscribe steps are in the host traces; the manager never unregisters twice.
TEST_F(SensorConnectionTest, FailedUnsubscribeStillDeactivates)
{
    ASSERT_TRUE(connection_.RegisterSensor(kTestType, 1));
    HostPlatform::Fail(SensorCall::UNSUBSCRIBE_SENSOR, std::nullopt);
    EXPECT_FALSE(connection_.UnregisterSensor(kTestType, 1));
    EXPECT_FALSE(connection_.UnregisterSensor(kTestType, 1));  // already deactivated
}

TEST_F(SensorConnectionTest, SupportedSensorsComeFromTheDeviceList)
{
    EXPECT_TRUE(connection_.IsSupportedSensor(12));
    EXPECT_FALSE(connection_.IsSupportedSensor(2));
    HostPlatform::SetDeviceSensors({});
    EXPECT_FALSE(connection_.IsSupportedSensor(1));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
