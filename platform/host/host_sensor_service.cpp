#include "host_sensor_service.h"

#include <algorithm>
#include <cstdio>

#include "wake_batch.h"
#include "worker_tracker.h"

namespace Tarvo::Host {
namespace {
constexpr int32_t kServiceError = -1;
const std::vector<int32_t> kDefaultSensors = {
    SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_AMBIENT_LIGHT, SENSOR_TYPE_ID_PROXIMITY};
}  // namespace

HostSensorService& HostSensorService::Instance()
{
    // Never destroyed: the library's sensor worker lives until process exit.
    static HostSensorService* instance = new HostSensorService;
    return *instance;
}

HostSensorService::HostSensorService() : pool_(kBlockFloats * kPoolBlocks, 0.0F)
{
    SetDeviceSensors(kDefaultSensors);
}

bool HostSensorService::FailsLocked(SensorCall call, int32_t sensorTypeId) const
{
    return faults_.count({call, std::nullopt}) != 0 || faults_.count({call, sensorTypeId}) != 0;
}

int32_t HostSensorService::GetAllSensors(SensorInfo** sensorInfo, int32_t* count)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (faults_.count({SensorCall::GET_ALL_SENSORS, std::nullopt}) != 0 || sensorInfo == nullptr ||
        count == nullptr) {
        return kServiceError;
    }
    std::vector<SensorInfo>& list = sensorLists_.back();
    *sensorInfo = list.empty() ? nullptr : list.data();
    *count = static_cast<int32_t>(list.size());
    return 0;
}

int32_t HostSensorService::Subscribe(int32_t sensorTypeId, const SensorUser* user)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const auto& list = sensorLists_.back();
    const bool present = std::any_of(list.begin(), list.end(), [&](const SensorInfo& info) {
        return info.sensorTypeId == sensorTypeId;
    });
    if (user == nullptr || FailsLocked(SensorCall::SUBSCRIBE_SENSOR, sensorTypeId) || !present) {
        return kServiceError;
    }
    subscriptions_[{user, sensorTypeId}].subscribed = true;
    return 0;
}

int32_t HostSensorService::SetBatch(int32_t sensorTypeId, const SensorUser* user,
                                    int64_t samplingInterval, int64_t reportInterval)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = subscriptions_.find({user, sensorTypeId});
    if (FailsLocked(SensorCall::SET_BATCH, sensorTypeId) || it == subscriptions_.end() ||
        !it->second.subscribed) {
        return kServiceError;
    }
    it->second.samplingInterval = samplingInterval;
    it->second.reportInterval = reportInterval;
    return 0;
}

int32_t HostSensorService::Activate(int32_t sensorTypeId, const SensorUser* user)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = subscriptions_.find({user, sensorTypeId});
    if (FailsLocked(SensorCall::ACTIVATE_SENSOR, sensorTypeId) || it == subscriptions_.end() ||
        !it->second.subscribed) {
        return kServiceError;
    }
    it->second.active = true;
    return 0;
}

int32_t HostSensorService::Deactivate(int32_t sensorTypeId, const SensorUser* user)
{
    std::unique_lock<std::mutex> lock(mutex_);
    auto it = subscriptions_.find({user, sensorTypeId});
    if (FailsLocked(SensorCall::DEACTIVATE_SENSOR, sensorTypeId) || it == subscriptions_.end() ||
        !it->second.active) {
        return kServiceError;
    }
    it->second.active = false;
    WaitOutDeliveryLocked(lock);
    return 0;
}

void HostSensorService::WaitOutDeliveryLocked(std::unique_lock<std::mutex>& lock)
{
    // A callback that turns around and unsubscribes cannot wait for itself.
    if (!delivering_ || std::this_thread::get_id() != deliveringThread_) {
        delivered_.wait(lock, [this] { return !delivering_; });
    }
}

int32_t HostSensorService::Unsubscribe(int32_t sensorTypeId, const SensorUser* user)
{
    std::unique_lock<std::mutex> lock(mutex_);
    auto it = subscriptions_.find({user, sensorTypeId});
    if (FailsLocked(SensorCall::UNSUBSCRIBE_SENSOR, sensorTypeId) || it == subscriptions_.end() ||
        !it->second.subscribed) {
        return kServiceError;
    }
    subscriptions_.erase(it);  // also ends the activation
    WaitOutDeliveryLocked(lock);
    return 0;
}

void HostSensorService::SetDeviceSensors(const std::vector<int32_t>& sensorTypeIds)
{
    std::vector<SensorInfo> list;
    for (int32_t id : sensorTypeIds) {
        SensorInfo info{};
        std::snprintf(info.sensorName, sizeof(info.sensorName), "sensor_%d", id);
        info.sensorTypeId = id;
        list.push_back(info);
    }
    std::lock_guard<std::mutex> lock(mutex_);
    sensorLists_.push_back(std::move(list));
}

void HostSensorService::Fail(SensorCall call, std::optional<int32_t> sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.insert({call, sensorTypeId});
}

void HostSensorService::Heal(SensorCall call, std::optional<int32_t> sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.erase({call, sensorTypeId});
}

void HostSensorService::InjectSample(int32_t sensorTypeId, const std::vector<float>& values,
                                     int64_t timestamp)
{
    Delivery delivery;
    delivery.sensorTypeId = sensorTypeId;
    delivery.count = std::min(values.size(), kBlockFloats);
    std::copy(values.begin(), values.begin() + delivery.count, delivery.values.begin());
    delivery.timestamp = timestamp;
    Enqueue(delivery);
}

void HostSensorService::InjectNullEvent()
{
    Delivery delivery;
    delivery.null = true;
    Enqueue(delivery);
}

void HostSensorService::Enqueue(const Delivery& delivery)
{
    if (inline_.load(std::memory_order_relaxed)) {
        DeliverHere(delivery);
        return;
    }
    WorkerTracker::Instance().DeliveryQueued();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (queued_ == queue_.size()) {
            std::vector<Delivery> bigger(queue_.empty() ? 64 : queue_.size() * 2);
            for (size_t i = 0; i < queued_; ++i) {
                bigger[i] = queue_[(queueHead_ + i) % queue_.size()];
            }
            queue_ = std::move(bigger);
            queueHead_ = 0;
        }
        queue_[(queueHead_ + queued_) % queue_.size()] = delivery;
        ++queued_;
        if (thread_ == nullptr) {
            thread_ = std::make_unique<std::thread>([this] { DeliveryLoop(); });
            thread_->detach();  // lives as long as the (never destroyed) service
        }
    }
    wake_.notify_one();
}

void HostSensorService::SetInlineDelivery(bool on)
{
    inline_.store(on, std::memory_order_relaxed);
}

void HostSensorService::DeliverHere(const Delivery& delivery)
{
    float* block = nullptr;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        delivered_.wait(lock, [this] { return queued_ == 0 && !delivering_; });
        BeginDeliveryLocked();
        block = PrepareLocked(delivery);
    }
    {
        const WakeBatch::Delivery inlineDelivery;
        CallRecipients(delivery, block);
    }
    // Not counted for WaitIdle: the injecting thread is busy with it until it returns.
    EndDelivery(false);
}

void HostSensorService::BeginDeliveryLocked()
{
    delivering_ = true;
    deliveringThread_ = std::this_thread::get_id();
}

void HostSensorService::EndDelivery(bool counted)
{
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        delivering_ = false;
        deliveringThread_ = std::thread::id();
        queued = queued_ != 0;
    }
    delivered_.notify_all();
    if (!counted && queued) {
        wake_.notify_one();  // the service's thread waited for this inline delivery
    }
    if (counted) {
        WorkerTracker::Instance().DeliveryDone();
    }
}

void HostSensorService::DeliveryLoop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        wake_.wait(lock, [this] { return queued_ != 0 && !delivering_; });
        const Delivery delivery = queue_[queueHead_];
        queueHead_ = (queueHead_ + 1) % queue_.size();
        --queued_;
        BeginDeliveryLocked();
        float* const block = PrepareLocked(delivery);
        const bool drained = queued_ == 0;
        lock.unlock();
        CallRecipients(delivery, block);
        if (drained) {
            // The library's worker has just been woken, often onto this very core: let
            // it run before this thread's bookkeeping, as a service that hands off and
            // sleeps would. Within a burst the worker is busy anyway.
            std::this_thread::yield();
        }
        EndDelivery(true);
        lock.lock();
    }
}

float* HostSensorService::PrepareLocked(const Delivery& delivery)
{
    std::vector<const SensorUser*>& recipients = recipients_;
    recipients.clear();
    for (const auto& [key, state] : subscriptions_) {
        const bool wanted = delivery.null || key.second == delivery.sensorTypeId;
        if (wanted && state.active &&
            std::find(recipients.begin(), recipients.end(), key.first) == recipients.end()) {
            recipients.push_back(key.first);
        }
    }
    if (delivery.null) {
        return nullptr;
    }
    float* block = &pool_[nextBlock_ * kBlockFloats];
    nextBlock_ = (nextBlock_ + 1) % kPoolBlocks;
    // What the event's length covers: the values, zero-padded to four.
    const size_t length = std::max<size_t>(delivery.count, 4);
    std::copy(delivery.values.begin(), delivery.values.begin() + length, block);
    return block;
}

void HostSensorService::CallRecipients(const Delivery& delivery, float* block)
{
    // Subscribers are called without the service's lock: they may call back in.
    WorkerTracker::Instance().BeforeDelivery();
    for (const SensorUser* user : recipients_) {
        RecordSensorCallback callback = user->callback;
        if (callback == nullptr) {
            continue;
        }
        if (delivery.null) {
            callback(nullptr);
            continue;
        }
        SensorEvent event{};
        event.sensorTypeId = delivery.sensorTypeId;
        event.timestamp = delivery.timestamp;
        event.data = reinterpret_cast<uint8_t*>(block);
        event.dataLen = static_cast<uint32_t>(std::max<size_t>(delivery.count, 4) * sizeof(float));
        callback(&event);
    }
}

SubscriptionState HostSensorService::GetSubscription(const void* user, int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = subscriptions_.find({static_cast<const SensorUser*>(user), sensorTypeId});
    return it == subscriptions_.end() ? SubscriptionState{} : it->second;
}

int HostSensorService::ActiveSubscriberCount(int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(
        std::count_if(subscriptions_.begin(), subscriptions_.end(), [&](const auto& entry) {
            return entry.first.second == sensorTypeId && entry.second.active;
        }));
}

int HostSensorService::SubscriptionCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<int>(subscriptions_.size());
}

void HostSensorService::Reset()
{
    SetDeviceSensors(kDefaultSensors);
    std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_.clear();
    faults_.clear();
}

}  // namespace Tarvo::Host
