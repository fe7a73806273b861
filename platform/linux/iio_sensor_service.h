// The sensor service on Linux: IIO devices found under the sysfs root, each
// subscriber's subscribe/batch/activate state, and a platform thread that reads every
// activated sensor at its batch interval and hands the sample to its subscribers.
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

    // The sensor types present under the sysfs root now.
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
    // Rescans the sysfs root; reports each new problem once. Called with the lock held.
    void ScanLocked();
    bool PresentLocked(int32_t sensorTypeId) const;
    int64_t IntervalLocked(int32_t sensorTypeId) const;
    void UpdatePollsLocked();
    void PollLoop();
    void ReadAndDeliver(int32_t sensorTypeId, const IioDevice& device,
                        const std::vector<const SensorUser*>& users, bool& failing);

    std::mutex mutex_;
    std::condition_variable wake_;
    std::vector<IioDevice> devices_;
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
