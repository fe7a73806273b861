#include "iio_sensor_service.h"

#include <time.h>

#include <algorithm>
#include <cstring>

#include "device_watcher.h"
#include "linux_log.h"
#include "linux_settings.h"
#include "platform_log.h"
#include "thread_support.h"

namespace Tarvo::Linux {
namespace {

int64_t BootTimeNs()
{
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace

IioSensorService& IioSensorService::Instance()
{
    // Never destroyed: the poll thread may be waiting in it at process exit.
    static IioSensorService* instance = new IioSensorService;
    return *instance;
}

IioSensorService::IioSensorService() : pool_(kBlockFloats * kPoolBlocks, 0.0f)
{
}

void IioSensorService::UseDevices(std::vector<IioDevice> devices,
                                  const std::vector<std::string>& problems)
{
    std::vector<std::string> news;
    std::unique_lock<std::mutex> lock(mutex_);
    for (const std::string& problem : problems) {
        if (reported_.insert(problem).second) {
            news.push_back(problem);
        }
    }
    devices_ = std::move(devices);
    scripted_ = false;
    present_.clear();
    for (const IioDevice& device : devices_) {
        present_.push_back(device.SensorTypeId());
    }
    std::sort(present_.begin(), present_.end());
    present_.erase(std::unique(present_.begin(), present_.end()), present_.end());
    for (auto& [type, poll] : polls_) {
        AttachLocked(type, poll);
    }
    wake_.notify_all();
    lock.unlock();
    for (const std::string& problem : news) {
        LinuxLog::Instance().Write(LOG_LEVEL_ERROR, "sensor skipped: " + problem);
    }
}

void IioSensorService::UseScriptedSensors(const std::vector<int32_t>& types)
{
    std::lock_guard<std::mutex> lock(mutex_);
    devices_.clear();
    scripted_ = true;
    present_ = types;
    for (auto& [type, poll] : polls_) {
        poll.device.reset();
    }
    wake_.notify_all();
}

const IioDevice* IioSensorService::DeviceLocked(int32_t sensorTypeId) const
{
    for (const IioDevice& device : devices_) {
        if (device.SensorTypeId() == sensorTypeId) {
            return &device;
        }
    }
    return nullptr;
}

void IioSensorService::AttachLocked(int32_t sensorTypeId, Poll& poll)
{
    const IioDevice* device = DeviceLocked(sensorTypeId);
    if (device == nullptr) {
        if (poll.device.has_value() && !poll.failing) {
            LinuxLog::Instance().Write(
                LOG_LEVEL_ERROR, poll.device->Describe() + " stopped delivering: it went away");
            poll.failing = true;  // so that its return is told
        }
        poll.device.reset();
        return;
    }
    if (!poll.device.has_value() || poll.device->Directory() != device->Directory()) {
        poll.due = Clock::now();
    }
    poll.device = *device;
}

bool IioSensorService::PresentLocked(int32_t sensorTypeId) const
{
    return std::find(present_.begin(), present_.end(), sensorTypeId) != present_.end();
}

std::vector<int32_t> IioSensorService::PresentSensors()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return present_;
}

int32_t IioSensorService::GetAllSensors(SensorInfo** sensorInfo, int32_t* count)
{
    if (sensorInfo == nullptr || count == nullptr) {
        return kError;
    }
    DeviceWatcher::Instance().Refresh();
    std::lock_guard<std::mutex> lock(mutex_);
    std::vector<SensorInfo> list;
    for (int32_t type : present_) {
        SensorInfo info{};
        const IioDevice* device = DeviceLocked(type);
        std::strncpy(info.sensorName, device != nullptr ? device->Name().c_str() : "scripted",
                     SENSOR_NAME_MAX_LEN - 1);
        info.sensorTypeId = type;
        list.push_back(info);
    }
    // A list handed out before is handed out again: devices that come and go between
    // the same few states must not grow the store with every change.
    const auto same = [&list](const std::vector<SensorInfo>& kept) {
        return kept.size() == list.size() &&
               std::equal(list.begin(), list.end(), kept.begin(),
                          [](const SensorInfo& a, const SensorInfo& b) {
                              return a.sensorTypeId == b.sensorTypeId &&
                                     std::strncmp(a.sensorName, b.sensorName,
                                                  SENSOR_NAME_MAX_LEN) == 0;
                          });
    };
    auto kept = std::find_if(sensorLists_.begin(), sensorLists_.end(), same);
    if (kept == sensorLists_.end()) {
        kept = sensorLists_.insert(sensorLists_.end(), std::move(list));
    }
    *sensorInfo = kept->empty() ? nullptr : kept->data();
    *count = static_cast<int32_t>(kept->size());
    return 0;
}

int32_t IioSensorService::Subscribe(int32_t sensorTypeId, const SensorUser* user)
{
    if (user == nullptr) {
        return kError;
    }
    // What is present now, counting any device udev has just announced.
    DeviceWatcher::Instance().Refresh();
    std::lock_guard<std::mutex> lock(mutex_);
    if (!PresentLocked(sensorTypeId)) {
        return kError;
    }
    if (!subscriptions_.Get(user, sensorTypeId).subscribed) {
        subscriptions_.Subscribe(user, sensorTypeId);
        subscriptions_.SetBatch(user, sensorTypeId, kDefaultIntervalNs, kDefaultIntervalNs);
    }
    return 0;
}

int32_t IioSensorService::SetBatch(int32_t sensorTypeId, const SensorUser* user,
                                   int64_t samplingInterval, int64_t reportInterval)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const int64_t interval = samplingInterval > 0 ? samplingInterval : kDefaultIntervalNs;
    if (!subscriptions_.SetBatch(user, sensorTypeId, interval, reportInterval)) {
        return kError;
    }
    UpdatePollsLocked();
    return 0;
}

int32_t IioSensorService::Activate(int32_t sensorTypeId, const SensorUser* user)
{
    std::lock_guard<std::mutex> lock(mutex_);
    if (!subscriptions_.Activate(user, sensorTypeId)) {
        return kError;
    }
    UpdatePollsLocked();
    if (thread_ == nullptr) {
        thread_ = std::make_unique<std::thread>([this] { PollLoop(); });
    }
    return 0;
}

int32_t IioSensorService::Deactivate(int32_t sensorTypeId, const SensorUser* user)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!subscriptions_.Deactivate(user, sensorTypeId)) {
        return kError;
    }
    UpdatePollsLocked();
    gate_.WaitOut(lock);
    return 0;
}

int32_t IioSensorService::Unsubscribe(int32_t sensorTypeId, const SensorUser* user)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!subscriptions_.Unsubscribe(user, sensorTypeId)) {
        return kError;
    }
    UpdatePollsLocked();
    // After a subscriber leaves, its callback must not run again.
    gate_.WaitOut(lock);
    return 0;
}

int64_t IioSensorService::IntervalLocked(int32_t sensorTypeId) const
{
    // One sampling rate per sensor: the fastest any active subscriber asked for, and
    // every subscriber sees every sample, as with one hardware FIFO.
    const int64_t interval = subscriptions_.FastestInterval(sensorTypeId);
    return interval == 0 ? 0 : std::max(interval, kMinIntervalNs);
}

void IioSensorService::UpdatePollsLocked()
{
    const std::set<int32_t> active = subscriptions_.ActiveSensors();
    for (auto it = polls_.begin(); it != polls_.end();) {
        it = active.count(it->first) == 0 ? polls_.erase(it) : std::next(it);
    }
    for (int32_t type : active) {
        if (polls_.count(type) == 0) {
            AttachLocked(type, polls_[type]);
        }
    }
    wake_.notify_all();
}

void IioSensorService::PollLoop()
{
    SetThreadName("quil-sensors");
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        // Only sensors with a device are read: with none, the thread waits without a
        // timeout until a subscriber or a device comes.
        auto next = polls_.end();
        for (auto it = polls_.begin(); it != polls_.end(); ++it) {
            if (it->second.device.has_value() &&
                (next == polls_.end() || it->second.due < next->second.due)) {
                next = it;
            }
        }
        if (next == polls_.end()) {
            wake_.wait(lock);
            continue;
        }
        // A copy: while waiting, the lock is let go and the poll may be erased.
        const Clock::time_point due = next->second.due;
        if (Clock::now() < due) {
            wake_.wait_until(lock, due);
            continue;  // the set of polls may have changed meanwhile
        }
        const int32_t type = next->first;
        const IioDevice device = *next->second.device;
        bool failing = next->second.failing;
        // Due times advance by whole intervals, so a slow read does not shift the rate;
        // after a long stall the next read is simply due now.
        const auto interval = std::chrono::nanoseconds(IntervalLocked(type));
        next->second.due = std::max(next->second.due + interval, Clock::now());
        lock.unlock();
        SampleRecord record;
        const bool read = Read(device, failing, record);
        lock.lock();
        auto again = polls_.find(type);
        if (again != polls_.end() && again->second.device.has_value() &&
            again->second.device->Directory() == device.Directory()) {
            again->second.failing = failing;
        }
        if (read) {
            DeliverLocked(lock, record);
        }
    }
}

bool IioSensorService::Read(const IioDevice& device, bool& failing, SampleRecord& record)
{
    record.sensorTypeId = device.SensorTypeId();
    std::string error;
    if (!device.Read(record.values, error)) {
        // Reported once per outage; the sensor is retried at its interval, quietly.
        if (!failing) {
            LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                       device.Describe() + " stopped delivering: " + error);
            failing = true;
        }
        return false;
    }
    if (failing) {
        LinuxLog::Instance().Write(LOG_LEVEL_WARN, device.Describe() + " delivers again");
        failing = false;
    }
    record.timestampNs = BootTimeNs();
    return true;
}

bool IioSensorService::Play(int32_t sensorTypeId, const std::vector<float>& values)
{
    std::unique_lock<std::mutex> lock(mutex_);
    // From inside a delivery it would wait for itself.
    if (!scripted_ || gate_.HeldHere()) {
        return false;
    }
    SampleRecord record;
    record.sensorTypeId = sensorTypeId;
    record.values = values;
    record.timestampNs = BootTimeNs();
    DeliverLocked(lock, record);
    return true;
}

void IioSensorService::DeliverLocked(std::unique_lock<std::mutex>& lock, const SampleRecord& record)
{
    // The poll thread and played samples take turns.
    gate_.WaitIdle(lock, [] { return true; });
    std::vector<const SensorUser*> users;
    subscriptions_.Recipients(record.sensorTypeId, users);
    if (users.empty()) {
        return;
    }
    float* block = &pool_[nextBlock_ * kBlockFloats];
    nextBlock_ = (nextBlock_ + 1) % kPoolBlocks;
    std::fill(block, block + kBlockFloats, 0.0f);
    std::copy_n(record.values.begin(), std::min(record.values.size(), kBlockFloats), block);
    gate_.Begin();
    lock.unlock();
    LinuxSettings::Instance().ObserveSample(record);
    for (const SensorUser* user : users) {
        SensorEvent event{};
        event.sensorTypeId = record.sensorTypeId;
        event.timestamp = record.timestampNs;
        event.data = reinterpret_cast<uint8_t*>(block);
        event.dataLen = static_cast<uint32_t>(kBlockFloats * sizeof(float));
        if (user->callback != nullptr) {
            user->callback(&event);
        }
    }
    lock.lock();
    gate_.End();
}

}  // namespace Tarvo::Linux
