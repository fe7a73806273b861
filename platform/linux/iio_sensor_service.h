// The sensor service on Linux: the IIO devices the device watcher found, each
// subscriber's subscribe/batch/activate state, and a platform thread that reads every
// activated sensor at its batch interval and hands the sample to its subscribers. With
// scripted sensors nothing is read: the host plays the samples.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "delivery_gate.h"
#include "iio_device.h"
#include "linux_platform.h"
#include "sensor_service_client.h"
#include "service_seam.h"
#include "subscription_table.h"

namespace Tarvo::Linux {

class IioSensorService : public Platform::SensorService {
public:
    static IioSensorService& Instance();

    int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count) override;
    int32_t Subscribe(int32_t sensorTypeId, const SensorUser* user) override;
    int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval,
                     int64_t reportInterval) override;
    int32_t Activate(int32_t sensorTypeId, const SensorUser* user) override;
    int32_t Deactivate(int32_t sensorTypeId, const SensorUser* user) override;
    int32_t Unsubscribe(int32_t sensorTypeId, const SensorUser* user) override;

    // The sensors to read from now on, and what was wrong with the ones passed over
    // (each problem is reported once). A sensor that vanishes is reported once and read
    // again when it returns; subscriptions and activations stay as they are.
    void UseDevices(std::vector<IioDevice> devices, const std::vector<std::string>& problems);
    // No device is read from now on; `types` are present and only played samples arrive.
    void UseScriptedSensors(const std::vector<int32_t>& types);
    // Hands a played sample to the active subscribers of its sensor, on this thread;
    // false when sensors are not scripted or this thread is delivering already.
    bool Play(int32_t sensorTypeId, const std::vector<float>& values);

    // The sensor types present now, in ascending order.
    std::vector<int32_t> PresentSensors();

private:
    static constexpr int32_t kError = -1;
    static constexpr int64_t kDefaultIntervalNs = 100000000;  // 100 ms
    static constexpr int64_t kMinIntervalNs = 5000000;        // 5 ms: no busier than this
    static constexpr size_t kBlockFloats = 4;
    static constexpr size_t kPoolBlocks = 1024;

    using Clock = std::chrono::steady_clock;

    // What is read for one sensor type while any subscriber has it activated.
    struct Poll {
        std::optional<IioDevice> device;
        Clock::time_point due;
        bool failing = false;
    };

    IioSensorService();
    bool PresentLocked(int32_t sensorTypeId) const;
    const IioDevice* DeviceLocked(int32_t sensorTypeId) const;
    // Points the poll at the sensor's device now, or at none when it has gone.
    void AttachLocked(int32_t sensorTypeId, Poll& poll);
    int64_t IntervalLocked(int32_t sensorTypeId) const;
    void UpdatePollsLocked();
    void PollLoop();
    // Reads one sample; reports the start and the end of an outage once each.
    static bool Read(const IioDevice& device, bool& failing, SampleRecord& record);
    // Hands `record` to the sensor's active subscribers, one delivery at a time; the
    // lock is let go while they run.
    void DeliverLocked(std::unique_lock<std::mutex>& lock, const SampleRecord& record);

    std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<IioDevice> devices_;
    bool scripted_ = false;
    std::vector<int32_t> present_;
    std::set<std::string> reported_;
    // Every list handed out stays alive: a caller may still hold a pointer into it.
    std::deque<std::vector<SensorInfo>> sensorLists_;
    Platform::SubscriptionTable subscriptions_;
    std::map<int32_t, Poll> polls_;
    Platform::DeliveryGate gate_;
    std::unique_ptr<std::thread> thread_;
    // Sample data stays readable after delivery, as the library reads it later on its
    // worker; blocks are reused round-robin.
    std::vector<float> pool_;
    size_t nextBlock_ = 0;
};

}  // namespace Tarvo::Linux
