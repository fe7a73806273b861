// The sensor service on emulated devices, through the client calls the library makes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include <filesystem>

#include "layer_observers.h"
#include "linux_platform.h"
#include "sensor_service_client.h"
#include "umockdev_testbed.h"

namespace Tarvo::Linux {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::FloatNear;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using Clock = std::chrono::steady_clock;

constexpr int64_t kFastNs = 20000000;  // 20 ms

struct Received {
    int32_t sensorTypeId;
    int64_t timestamp;
    std::vector<float> values;
    std::thread::id thread;
    Clock::time_point when;
};

std::mutex gMutex;
std::condition_variable gArrived;
std::vector<Received> gReceived;

void Collect(SensorEvent* event)
{
    if (event == nullptr) {
        return;
    }
    const float* data = reinterpret_cast<const float*>(event->data);
    std::lock_guard<std::mutex> lock(gMutex);
    gReceived.push_back({event->sensorTypeId, event->timestamp,
                         std::vector<float>(data, data + event->dataLen / sizeof(float)),
                         std::this_thread::get_id(), Clock::now()});
    gArrived.notify_all();
}

class IioSensorServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // Every look at the devices covers the touchscreen too: a named one that is
        // missing is reported only when a monitor wants it, so these logs stay the sensors'.
        LinuxPlatform::SetTouchDevice("/dev/input/no-touchscreen");
        std::lock_guard<std::mutex> lock(gMutex);
        gReceived.clear();
    }
    void TearDown() override
    {
        for (SensorUser* user : {&user_, &other_}) {
            for (int32_t type : {SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_AMBIENT_LIGHT,
                                 SENSOR_TYPE_ID_PROXIMITY}) {
                UnsubscribeSensor(type, user);
            }
        }
        LinuxPlatform::SetTouchDevice("");
    }

    void Start(int32_t type, const SensorUser* user, int64_t intervalNs = kFastNs)
    {
        ASSERT_EQ(SubscribeSensor(type, user), 0);
        ASSERT_EQ(SetBatch(type, user, intervalNs, intervalNs), 0);
        ASSERT_EQ(ActivateSensor(type, user), 0);
    }
    // Waits until `pred` holds for what has arrived; false after five seconds.
    template <typename Pred>
    bool WaitFor(Pred pred)
    {
        std::unique_lock<std::mutex> lock(gMutex);
        return gArrived.wait_for(lock, std::chrono::seconds(5), [&] { return pred(gReceived); });
    }
    static size_t Count(const std::vector<Received>& received, int32_t type)
    {
        return std::count_if(received.begin(), received.end(),
                             [type](const Received& r) { return r.sensorTypeId == type; });
    }
    size_t CountNow(int32_t type)
    {
        std::lock_guard<std::mutex> lock(gMutex);
        return Count(gReceived, type);
    }
    std::string AddAccel(int n) { return testbed_.AddAccelerometer(n, 0, 0, 980); }
    std::string AddLight(int n)
    {
        return testbed_.AddIio(n, {{"name", "als"}, {"in_illuminance_input", "250"}});
    }

    Tarvo::Test::UmockdevTestbed testbed_;
    SensorUser user_{"test", &Collect, nullptr};
    SensorUser other_{"other", &Collect, nullptr};
    Linux::Test::LogLines log_;
};

TEST_F(IioSensorServiceTest, SamplesArriveOnAPlatformThreadNoFasterThanAsked)
{
    AddAccel(0);
    EXPECT_NE(SubscribeSensor(SENSOR_TYPE_ID_ACCELEROMETER, nullptr), 0);
    constexpr int64_t kIntervalNs = 50000000;  // 50 ms
    const auto start = Clock::now();
    Start(SENSOR_TYPE_ID_ACCELEROMETER, &user_, kIntervalNs);
    ASSERT_TRUE(WaitFor([](const auto& r) { return r.size() >= 4; }));

    std::lock_guard<std::mutex> lock(gMutex);
    EXPECT_NE(gReceived[0].thread, std::this_thread::get_id());
    EXPECT_THAT(gReceived[0].values, ElementsAre(0.0f, 0.0f, FloatNear(9.8f, 1e-5), 0.0f));
    // Four samples span at least three intervals.
    EXPECT_GE(gReceived[3].when - start, std::chrono::nanoseconds(3 * kIntervalNs));
}

TEST_F(IioSensorServiceTest, EverySubscriberSeesEverySample)
{
    AddAccel(0);
    Start(SENSOR_TYPE_ID_ACCELEROMETER, &user_);
    Start(SENSOR_TYPE_ID_ACCELEROMETER, &other_);
    // Samples are told apart by their time stamps: each reaches both, none twice.
    const auto copies = [](const std::vector<Received>& received) {
        std::map<int64_t, int> seen;
        for (const Received& r : received) {
            ++seen[r.timestamp];
        }
        std::vector<int> counts;
        for (const auto& entry : seen) {
            counts.push_back(entry.second);
        }
        return counts;
    };
    const auto paired = [](const std::vector<int>& counts) {
        return std::find(counts.begin(), counts.end(), 2);
    };
    ASSERT_TRUE(WaitFor([&](const auto& r) {
        const std::vector<int> counts = copies(r);
        return counts.end() - paired(counts) >= 4;
    }));
    std::lock_guard<std::mutex> lock(gMutex);
    const std::vector<int> counts = copies(gReceived);
    // Before the second subscriber came only the first is served; the last sample may
    // still be on its way to the second.
    EXPECT_THAT(std::vector<int>(paired(counts), counts.end() - 1), Each(2));
}

// At a fast interval and at one where the poll thread waits long for the next sample
// (the wait must not outlive the poll it was for).
TEST_F(IioSensorServiceTest, NothingArrivesOnceDeactivateHasReturned)
{
    AddAccel(0);
    for (const int64_t intervalNs : {int64_t{5000000}, int64_t{2000000000}}) {
        SCOPED_TRACE(intervalNs);
        const size_t before = CountNow(SENSOR_TYPE_ID_ACCELEROMETER);
        Start(SENSOR_TYPE_ID_ACCELEROMETER, &user_, intervalNs);
        ASSERT_TRUE(WaitFor([before](const auto& r) { return r.size() > before; }));
        ASSERT_EQ(DeactivateSensor(SENSOR_TYPE_ID_ACCELEROMETER, &user_), 0);
        const size_t count = CountNow(SENSOR_TYPE_ID_ACCELEROMETER);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_EQ(CountNow(SENSOR_TYPE_ID_ACCELEROMETER), count);
        ASSERT_EQ(UnsubscribeSensor(SENSOR_TYPE_ID_ACCELEROMETER, &user_), 0);
    }
}

// A device whose attributes vanish without udev saying so: its reads fail, quietly after
// the first, while the others go on.
TEST_F(IioSensorServiceTest, AFailingDeviceIsReportedOnceAndTheOthersGoOn)
{
    const std::string accel = testbed_.OnDisk(AddAccel(0));
    AddLight(1);
    Start(SENSOR_TYPE_ID_ACCELEROMETER, &user_);
    Start(SENSOR_TYPE_ID_AMBIENT_LIGHT, &user_);
    ASSERT_TRUE(WaitFor([](const auto& r) {
        return Count(r, SENSOR_TYPE_ID_ACCELEROMETER) > 0 &&
               Count(r, SENSOR_TYPE_ID_AMBIENT_LIGHT) > 0;
    }));

    std::filesystem::rename(accel, accel + "-away");
    const size_t lightBefore = CountNow(SENSOR_TYPE_ID_AMBIENT_LIGHT);
    // Let several intervals pass: the light keeps coming, the error is written once.
    ASSERT_TRUE(WaitFor([lightBefore](const auto& r) {
        return Count(r, SENSOR_TYPE_ID_AMBIENT_LIGHT) >= lightBefore + 10;
    }));
    const size_t accelGone = CountNow(SENSOR_TYPE_ID_ACCELEROMETER);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(CountNow(SENSOR_TYPE_ID_ACCELEROMETER), accelGone);
    std::vector<std::string> log = log_.All();
    ASSERT_THAT(log, SizeIs(1));
    EXPECT_THAT(log[0], HasSubstr("E D002211/LinuxPlatform: accelerometer iio:device0 (accel) "
                                  "stopped delivering"));

    std::filesystem::rename(accel + "-away", accel);
    EXPECT_TRUE(WaitFor(
        [accelGone](const auto& r) { return Count(r, SENSOR_TYPE_ID_ACCELEROMETER) > accelGone; }));
    log = log_.All();
    ASSERT_THAT(log, SizeIs(2));
    EXPECT_THAT(log[1], HasSubstr("delivers again"));
}

TEST_F(IioSensorServiceTest, ABrokenDeviceIsReportedOnceHoweverOftenItIsSeen)
{
    testbed_.SetAttribute(AddAccel(0), "in_accel_scale", "");
    AddLight(1);
    SensorInfo* list = nullptr;
    int32_t count = 0;
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(GetAllSensors(&list, &count), 0);
    }
    ASSERT_EQ(count, 1);
    EXPECT_EQ(list[0].sensorTypeId, SENSOR_TYPE_ID_AMBIENT_LIGHT);
    EXPECT_STREQ(list[0].sensorName, "iio:device1 (als)");
    EXPECT_NE(GetAllSensors(nullptr, &count), 0);
    EXPECT_NE(SubscribeSensor(SENSOR_TYPE_ID_ACCELEROMETER, &user_), 0) << "absent sensor";
    const std::vector<std::string> log = log_.All();
    ASSERT_THAT(log, SizeIs(1));
    EXPECT_THAT(log[0], HasSubstr("in_accel_scale holds no number"));
}

}  // namespace
}  // namespace Tarvo::Linux
