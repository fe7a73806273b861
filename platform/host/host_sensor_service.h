// The simulated sensor service: the device's sensor list, each subscriber's
// subscribe/batch/activate state, fault injection, and delivery of samples on the
// service's own thread to the subscribers that have activated the sensor.
#pragma once

#include <array>
#include <atomic>
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
#include "host_platform.h"
#include "sensor_service_client.h"
#include "service_seam.h"
#include "subscription_table.h"

namespace Tarvo::Host {

class HostSensorService : public Platform::SensorService {
public:
    static HostSensorService& Instance();

    // The client calls.
    int32_t GetAllSensors(SensorInfo** sensorInfo, int32_t* count) override;
    int32_t Subscribe(int32_t sensorTypeId, const SensorUser* user) override;
    int32_t SetBatch(int32_t sensorTypeId, const SensorUser* user, int64_t samplingInterval,
                     int64_t reportInterval) override;
    int32_t Activate(int32_t sensorTypeId, const SensorUser* user) override;
    int32_t Deactivate(int32_t sensorTypeId, const SensorUser* user) override;
    int32_t Unsubscribe(int32_t sensorTypeId, const SensorUser* user) override;

    // The control side.
    void SetDeviceSensors(const std::vector<int32_t>& sensorTypeIds);
    void Fail(SensorCall call, std::optional<int32_t> sensorTypeId);
    void Heal(SensorCall call, std::optional<int32_t> sensorTypeId);
    void InjectSample(int32_t sensorTypeId, const std::vector<float>& values, int64_t timestamp);
    void InjectNullEvent();
    // On: each injection is delivered on the injecting thread, after whatever is still
    // queued, one delivery at a time, as the service's own thread would.
    void SetInlineDelivery(bool on);
    SubscriptionState GetSubscription(const void* user, int32_t sensorTypeId);
    int ActiveSubscriberCount(int32_t sensorTypeId);
    int SubscriptionCount();
    void Reset();

private:
    // A data block holds at least four floats; longer samples are cut to its size.
    static constexpr size_t kBlockFloats = 64;
    static constexpr size_t kPoolBlocks = 8192;

    struct Delivery {
        bool null = false;
        int32_t sensorTypeId = 0;
        size_t count = 0;  // values used
        std::array<float, kBlockFloats> values{};
        int64_t timestamp = 0;
    };

    HostSensorService();
    bool FailsLocked(SensorCall call, int32_t sensorTypeId) const;
    void Enqueue(const Delivery& delivery);
    void DeliveryLoop();
    void DeliverHere(const Delivery& delivery);
    // `counted`: the delivery was counted as queued for WaitIdle.
    void EndDelivery(bool counted);
    // Picks the recipients and fills a data block; returns it (null for a null event).
    float* PrepareLocked(const Delivery& delivery);
    void CallRecipients(const Delivery& delivery, float* block);

    std::mutex mutex_;
    std::condition_variable wake_;
    // Every list ever set stays alive: a caller may still hold a pointer into it.
    std::deque<std::vector<SensorInfo>> sensorLists_;
    Platform::SubscriptionTable subscriptions_;
    std::set<std::pair<SensorCall, std::optional<int32_t>>> faults_;
    // Deliveries waiting, oldest at queueHead_: a ring over a buffer that only grows,
    // so a steady stream of samples is queued without allocating.
    std::vector<Delivery> queue_;
    size_t queueHead_ = 0;
    size_t queued_ = 0;
    std::vector<const SensorUser*> recipients_;  // the delivery in flight's, reused
    std::atomic<bool> inline_{false};
    // Deactivate and Unsubscribe wait out a delivery in flight, as a real service does,
    // so that a client may unload its callback's code once they return.
    Platform::DeliveryGate gate_;
    std::unique_ptr<std::thread> thread_;
    // Sample data stays readable after delivery, because the library reads it later on
    // its worker; blocks are reused round-robin, so a pointer never dangles.
    std::vector<float> pool_;
    size_t nextBlock_ = 0;
};

}  // namespace Tarvo::Host
