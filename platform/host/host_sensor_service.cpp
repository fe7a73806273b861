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
    subscriptions_.Subscribe(user, sensorTypeId);
    return 0;
}

int32_t HostSensorService::SetBatch(int32_t sensorTypeId, const SensorUser* user,
                                    int64_t samplingInterval, int64_t reportInterval)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return !FailsLocked(SensorCall::SET_BATCH, sensorTypeId) &&
                   subscriptions_.SetBatch(user, sensorTypeId, samplingInterval, reportInterval)
               ? 0
               : kServiceError;
}

int32_t HostSensorService::Activate(int32_t sensorTypeId, const SensorUser* user)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return !FailsLocked(SensorCall::ACTIVATE_SENSOR, sensorTypeId) &&
                   subscriptions_.Activate(user, sensorTypeId)
               ? 0
               : kServiceError;
}

int32_t HostSensorService::Deactivate(int32_t sensorTypeId, const SensorUser* user)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (FailsLocked(SensorCall::DEACTIVATE_SENSOR, sensorTypeId) ||
        !subscriptions_.Deactivate(user, sensorTypeId)) {
        return kServiceError;
    }
    gate_.WaitOut(lock);
    return 0;
}

int32_t HostSensorService::Unsubscribe(int32_t sensorTypeId, const SensorUser* user)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (FailsLocked(SensorCall::UNSUBSCRIBE_SENSOR, sensorTypeId) ||
        !subscriptions_.Unsubscribe(user, sensorTypeId)) {
        return kServiceError;
    }
    gate_.WaitOut(lock);
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
        gate_.WaitIdle(lock, [this] { return queued_ == 0; });
        gate_.Begin();
        block = PrepareLocked(delivery);
    }
    {
        const WakeBatch::Delivery inlineDelivery;
        CallRecipients(delivery, block);
    }
    // Not counted for WaitIdle: the injecting thread is busy with it until it returns.
    EndDelivery(false);
}

void HostSensorService::EndDelivery(bool counted)
{
    bool queued = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        gate_.End();
        queued = queued_ != 0;
    }
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
        wake_.wait(lock, [this] { return queued_ != 0 && !gate_.Busy(); });
        const Delivery delivery = queue_[queueHead_];
        queueHead_ = (queueHead_ + 1) % queue_.size();
        --queued_;
        gate_.Begin();
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
    subscriptions_.Recipients(delivery.null ? std::nullopt : std::optional(delivery.sensorTypeId),
                              recipients_);
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
    const auto state = subscriptions_.Get(static_cast<const SensorUser*>(user), sensorTypeId);
    return SubscriptionState{state.subscribed, state.active, state.samplingInterval,
                             state.reportInterval};
}

int HostSensorService::ActiveSubscriberCount(int32_t sensorTypeId)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return subscriptions_.ActiveCount(sensorTypeId);
}

int HostSensorService::SubscriptionCount()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return subscriptions_.Count();
}

void HostSensorService::Reset()
{
    SetDeviceSensors(kDefaultSensors);
    std::lock_guard<std::mutex> lock(mutex_);
    subscriptions_.Clear();
    faults_.clear();
}

}  // namespace Tarvo::Host
