#include "sensor_connection.h"

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
}  // namespace

SensorConnection::SensorConnection()
{
    MLOGD("SensorConnection is created");
    // An unnamed semaphore must be initialised before use; zeroed storage is not a
    // portable semaphore.
    SemInit(&sem_, 0, 0);
    running_ = true;
    thread_ = std::make_unique<std::thread>([this] { AlgorithmLoop(); });
}

SensorConnection::~SensorConnection()
{
    MLOGD("enter");
    running_ = false;
    SemPost(&sem_);
    if (thread_ != nullptr && thread_->joinable()) {
        thread_->join();
    }
    thread_.reset();
    SemDestroy(&sem_);
}

bool SensorConnection::RegisterSensor(int type, int sensorTypeId)
{
    (void)type;
    MLOGD("enter");
    sensorUser_.callback = SensorDataCallbackImpl;
    // Steps already done are not undone on a later failure.
    if (SubscribeSensor(sensorTypeId, &sensorUser_) != 0) {
        MLOGE("SubscribeSensor failed");
        return false;
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
    return true;
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

void SensorConnection::RegisterEvent(int type, std::function<int(int, void*)> callback)
{
    MLOGD("RegisterEvent enter type:%{public}d", type);
    std::lock_guard<std::mutex> lock(callbackMutex_);
    callbacks_[type] = std::move(callback);
}

void SensorConnection::UnregisterEvent(int type)
{
    MLOGD("UnregisterEvent enter");
    std::lock_guard<std::mutex> lock(callbackMutex_);
    callbacks_.erase(type);
}

void SensorConnection::SensorDataCallbackImpl(SensorEvent* event)
{
    MLOGD("enter");
    if (event == nullptr) {
        MLOGE("SensorDataCallbackImpl event is null");
        return;
    }
    MLOGD("SensorTypeId:%{public}d", event->sensorTypeId);
    GetInstance().PushData(*event);
}

void SensorConnection::PushData(SensorEvent event)
{
    MLOGD("enter");
    std::lock_guard<std::mutex> lock(eventMutex_);
    events_.push_back(event);
    SemPost(&sem_);
}

std::optional<SensorEvent> SensorConnection::GetSensorEvent()
{
    std::lock_guard<std::mutex> lock(eventMutex_);
    if (events_.empty()) {
        MLOGE("No sensorEvent");
        return std::nullopt;
    }
    return events_.front();
}

bool SensorConnection::PopData()
{
    std::lock_guard<std::mutex> lock(eventMutex_);
    if (events_.empty()) {
        MLOGE("No sensorEvent");
        return false;
    }
    events_.pop_front();
    return true;
}

void SensorConnection::NotifyCallback(int sensorTypeId, void* data)
{
    MLOGD("enter");
    // Held for the whole dispatch, so a recogniser is never unbound mid-sample.
    std::lock_guard<std::mutex> lock(callbackMutex_);
    for (const auto& [type, callback] : callbacks_) {
        (void)type;
        if (callback) {
            callback(sensorTypeId, data);
        }
    }
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
    std::optional<SensorEvent> event = GetSensorEvent();
    if (!event.has_value()) {
        MLOGE("event is nullopt");
        return;
    }
    PopData();
    NotifyCallback(event->sensorTypeId, event->data);
}

}  // namespace Tarvo::Quil
