#include "sensor_connection.h"

#include <algorithm>
#include <cstring>

#include "motion_log.h"
#include "thread_support.h"

// The one instance is made when the library is loaded, so the worker runs from load to
// exit, whether or not any motion is enabled.
template class Tarvo::Singleton<Tarvo::Quil::SensorConnection>;

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "SensorConnection";
constexpr int64_t kSamplingIntervalNs = 100000000;  // 100 ms
constexpr int64_t kReportIntervalNs = 100000000;    // 100 ms

// Outside the instance on purpose: constant-initialised and never destroyed, so a
// delivery that races the instance's destruction at exit or unload finds them intact
// and turns back instead of touching a destroyed queue.
std::atomic<bool> g_accepting{false};
std::atomic<int> g_deliveriesInFlight{0};
}  // namespace

SensorConnection::SensorConnection()
{
    MLOGD("SensorConnection is created");
    // One subscriber record for every sensor, set up before any subscription so the
    // service never reads it while it changes.
    sensorUser_.callback = SensorDataCallbackImpl;
    // An unnamed semaphore must be initialised before use; zeroed storage is not a
    // portable semaphore.
    SemInit(&sem_, 0, 0);
    running_ = true;
    thread_ = std::make_unique<std::thread>([this] { AlgorithmLoop(); });
    g_accepting = true;
}

SensorConnection::~SensorConnection()
{
    MLOGD("enter");
    // Late deliveries turn back from here on; then nothing may still be subscribed to
    // this module's callback, and any delivery already inside must finish first.
    g_accepting = false;
    UnregisterAllSensors();
    while (g_deliveriesInFlight.load() != 0) {
        std::this_thread::yield();
    }
    running_ = false;
    SemPost(&sem_);
    if (thread_ != nullptr && thread_->joinable()) {
        if (IsWorkerThread()) {
            // The process is exiting from inside a report: the worker cannot join itself.
            thread_->detach();
        } else {
            thread_->join();
        }
    }
    thread_.reset();
    SemDestroy(&sem_);
}

bool SensorConnection::IsWorkerThread() const
{
    return thread_ != nullptr && std::this_thread::get_id() == thread_->get_id();
}

bool SensorConnection::RegisterSensor(int type, int sensorTypeId)
{
    (void)type;
    MLOGD("enter");
    // Steps already done are not undone on a later failure.
    if (SubscribeSensor(sensorTypeId, &sensorUser_) != 0) {
        MLOGE("SubscribeSensor failed");
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(subscribedMutex_);
        subscribed_.insert(sensorTypeId);
    }
    if (SetBatch(sensorTypeId, &sensorUser_, kSamplingIntervalNs, kReportIntervalNs) != 0) {
        MLOGE("SetBatch failed");
        return false;
    }
    if (ActivateSensor(sensorTypeId, &sensorUser_) != 0) {
        MLOGE("ActivateSensor failed");
        return false;
    }
    return true;
}

bool SensorConnection::UnregisterSensor(int type, int sensorTypeId)
{
    (void)type;
    if (DeactivateSensor(sensorTypeId, &sensorUser_) != 0) {
        MLOGE("DeactivateSensor failed");
        return false;
    }
    if (UnsubscribeSensor(sensorTypeId, &sensorUser_) != 0) {
        MLOGE("UnsubscribeSensor failed");
        return false;
    }
    std::lock_guard<std::mutex> lock(subscribedMutex_);
    subscribed_.erase(sensorTypeId);
    return true;
}

void SensorConnection::UnregisterAllSensors()
{
    std::set<int> sensors;
    {
        std::lock_guard<std::mutex> lock(subscribedMutex_);
        sensors.swap(subscribed_);
    }
    for (int sensorTypeId : sensors) {
        // A sensor that was subscribed but never activated answers the deactivation
        // with an error; the unsubscription is what matters.
        (void)DeactivateSensor(sensorTypeId, &sensorUser_);
        if (UnsubscribeSensor(sensorTypeId, &sensorUser_) != 0) {
            MLOGE("UnsubscribeSensor failed");
        }
    }
}

bool SensorConnection::IsSupportedSensor(int sensorTypeId)
{
    SensorInfo* sensors = nullptr;  // the platform's list; not ours to free
    int32_t count = 0;
    if (GetAllSensors(&sensors, &count) != 0) {
        MLOGE("Failed to get all sensors");
        return false;
    }
    if (sensors == nullptr) {
        return false;
    }
    for (int32_t i = 0; i < count; ++i) {
        if (sensors[i].sensorTypeId == sensorTypeId) {
            return true;
        }
    }
    return false;
}

void SensorConnection::RegisterEvent(int type, std::function<int(int, void*)> callback,
                                     std::shared_ptr<void> owner)
{
    MLOGD("RegisterEvent enter type:%{public}d", type);
    std::shared_ptr<void> replaced;  // released after the lock, in case it is the last one
    std::lock_guard<std::mutex> lock(callbackMutex_);
    Binding& binding = callbacks_[type];
    replaced = std::move(binding.owner);
    // A binding made while a sample is being dispatched starts with the next sample.
    binding = Binding{std::move(callback), std::move(owner), dispatchSerial_ + 1};
    BindingsChangedLocked();
    RetireLocked(replaced);
}

void SensorConnection::UnregisterEvent(int type)
{
    MLOGD("UnregisterEvent enter");
    std::shared_ptr<void> owner;  // released after the lock, in case it is the last one
    std::lock_guard<std::mutex> lock(callbackMutex_);
    auto it = callbacks_.find(type);
    if (it != callbacks_.end()) {
        owner = std::move(it->second.owner);
        callbacks_.erase(it);
        BindingsChangedLocked();
        RetireLocked(owner);
    }
}

void SensorConnection::BindingsChangedLocked()
{
    bindingsVersion_.fetch_add(1);
    // Between dispatches the copies go now, and with them whatever the callbacks hold;
    // the next dispatch copies afresh either way.
    if (!dispatching_) {
        due_.clear();
    }
}

void SensorConnection::RetireLocked(std::shared_ptr<void>& owner)
{
    // The dispatch in flight may be inside this very recogniser: it lives until the
    // dispatch is over, so the dispatch need not hold a reference to every binding.
    if (dispatching_ && owner != nullptr) {
        retired_.push_back(std::move(owner));
    }
}

void SensorConnection::WaitForDispatch()
{
    if (IsWorkerThread()) {
        return;
    }
    std::unique_lock<std::mutex> lock(callbackMutex_);
    const uint64_t serial = dispatchSerial_;
    dispatchEnded_.wait(lock, [&] { return !dispatching_ || dispatchSerial_ != serial; });
}

void SensorConnection::SensorDataCallbackImpl(SensorEvent* event)
{
    MLOGD("enter");
    if (event == nullptr) {
        MLOGE("SensorDataCallbackImpl event is null");
        return;
    }
    MLOGD("SensorTypeId:%{public}d", event->sensorTypeId);
    g_deliveriesInFlight.fetch_add(1);
    if (g_accepting.load()) {
        GetInstance().PushData(*event);
    }
    g_deliveriesInFlight.fetch_sub(1);
}

void SensorConnection::PushData(const SensorEvent& event)
{
    MLOGD("enter");
    // Filled outside the lock; the ring copies it into storage it reuses.
    Sample sample;
    sample.sensorTypeId = event.sensorTypeId;
    sample.timestamp = event.timestamp;
    sample.hasData = event.data != nullptr;
    const size_t length = sample.hasData ? std::min<size_t>(event.dataLen, kSampleBytes) : 0;
    if (length > 0) {
        std::memcpy(sample.data, event.data, length);
    }
    {
        std::lock_guard<std::mutex> lock(eventMutex_);
        events_.push_back(sample);
    }
    // Posted after unlocking: the woken worker takes the same lock first thing.
    SemPost(&sem_);
}

bool SensorConnection::TakeFront(Sample& out)
{
    if (taken_.empty()) {
        std::lock_guard<std::mutex> lock(eventMutex_);
        if (events_.empty()) {
            QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, "GetSensorEvent", "No sensorEvent");
            return false;
        }
        // Both rings keep their storage, so a steady stream still allocates nothing.
        std::swap(events_, taken_);
    }
    out = taken_.front();
    taken_.pop_front();
    return true;
}

void SensorConnection::NotifyCallback(int sensorTypeId, void* data)
{
    MLOGD("enter");
    // The bindings due are taken under one lock, copied only when they have changed.
    // Should the host bind or unbind while they run, the rest are looked up again one at
    // a time: a removed binding is never called again, one added during this sample
    // waits for the next. The callbacks are copies, so a binding may go while it runs;
    // its recogniser is retired, not released, until the dispatch is over.
    uint64_t serial = 0;
    uint64_t version = 0;
    {
        std::lock_guard<std::mutex> lock(callbackMutex_);
        serial = ++dispatchSerial_;
        dispatching_ = true;
        version = bindingsVersion_.load();
        if (version != dueVersion_) {
            due_.clear();
            for (const auto& [type, binding] : callbacks_) {
                if (binding.since <= serial && binding.callback) {
                    due_.push_back(DueBinding{type, binding.callback});
                }
            }
            dueVersion_ = version;
        }
    }
    std::optional<int> lastType;
    for (const DueBinding& binding : due_) {
        if (lastType.has_value() && bindingsVersion_.load() != version) {
            DispatchByLookup(sensorTypeId, data, serial, lastType);
            break;
        }
        lastType = binding.type;
        binding.callback(sensorTypeId, data);
    }
    EndDispatch();
}

void SensorConnection::DispatchByLookup(int sensorTypeId, void* data, uint64_t serial,
                                        std::optional<int> lastType)
{
    for (;;) {
        std::function<int(int, void*)> callback;
        {
            std::lock_guard<std::mutex> lock(callbackMutex_);
            auto it = lastType.has_value() ? callbacks_.upper_bound(*lastType) : callbacks_.begin();
            while (it != callbacks_.end() && (it->second.since > serial || !it->second.callback)) {
                ++it;
            }
            if (it == callbacks_.end()) {
                return;
            }
            lastType = it->first;
            callback = it->second.callback;
        }
        callback(sensorTypeId, data);
    }
}

void SensorConnection::EndDispatch()
{
    // Retired recognisers go while the dispatch still counts as in flight: whoever
    // waits for it may unload their code next.
    std::vector<std::shared_ptr<void>> retired;
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(callbackMutex_);
            if (retired_.empty()) {
                dispatching_ = false;
                break;
            }
            retired.swap(retired_);
        }
        retired.clear();
    }
    dispatchEnded_.notify_all();
}

void SensorConnection::AlgorithmLoop()
{
    if (!SetThreadName(std::string("os_mot_sen_con"))) {
        MLOGE("SetThreadName std::string(\"os_mot_sen_con\") failed");
    }
    MLOGD("enter");
    // The flag is tested after each wake-up, so the wake-up that shutdown posts still
    // runs one (empty) round.
    while (running_) {
        SemWait(&sem_);
        HandleSensorEvent();
    }
}

void SensorConnection::HandleSensorEvent()
{
    MLOGD("enter");
    if (!TakeFront(current_)) {
        MLOGE("event is nullopt");
        return;
    }
    NotifyCallback(current_.sensorTypeId, current_.hasData ? current_.data : nullptr);
}

}  // namespace Tarvo::Quil
