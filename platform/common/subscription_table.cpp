#include "subscription_table.h"

#include <algorithm>

namespace Tarvo::Platform {

SubscriptionTable::State* SubscriptionTable::Find(const SensorUser* user, int32_t sensorTypeId)
{
    auto it = entries_.find({user, sensorTypeId});
    return it == entries_.end() ? nullptr : &it->second;
}

void SubscriptionTable::Subscribe(const SensorUser* user, int32_t sensorTypeId)
{
    entries_[{user, sensorTypeId}].subscribed = true;
}

bool SubscriptionTable::SetBatch(const SensorUser* user, int32_t sensorTypeId,
                                 int64_t samplingInterval, int64_t reportInterval)
{
    State* state = Find(user, sensorTypeId);
    if (state == nullptr || !state->subscribed) {
        return false;
    }
    state->samplingInterval = samplingInterval;
    state->reportInterval = reportInterval;
    return true;
}

bool SubscriptionTable::Activate(const SensorUser* user, int32_t sensorTypeId)
{
    State* state = Find(user, sensorTypeId);
    if (state == nullptr || !state->subscribed) {
        return false;
    }
    state->active = true;
    return true;
}

bool SubscriptionTable::Deactivate(const SensorUser* user, int32_t sensorTypeId)
{
    State* state = Find(user, sensorTypeId);
    if (state == nullptr || !state->active) {
        return false;
    }
    state->active = false;
    return true;
}

bool SubscriptionTable::Unsubscribe(const SensorUser* user, int32_t sensorTypeId)
{
    return entries_.erase({user, sensorTypeId}) != 0;  // the activation ends with it
}

SubscriptionTable::State SubscriptionTable::Get(const SensorUser* user, int32_t sensorTypeId) const
{
    auto it = entries_.find({user, sensorTypeId});
    return it == entries_.end() ? State{} : it->second;
}

void SubscriptionTable::Recipients(std::optional<int32_t> sensorTypeId,
                                   std::vector<const SensorUser*>& users) const
{
    users.clear();
    for (const auto& [key, state] : entries_) {
        const bool wanted = !sensorTypeId.has_value() || key.second == *sensorTypeId;
        if (wanted && state.active &&
            std::find(users.begin(), users.end(), key.first) == users.end()) {
            users.push_back(key.first);
        }
    }
}

std::set<int32_t> SubscriptionTable::ActiveSensors() const
{
    std::set<int32_t> sensors;
    for (const auto& [key, state] : entries_) {
        if (state.active) {
            sensors.insert(key.second);
        }
    }
    return sensors;
}

int64_t SubscriptionTable::FastestInterval(int32_t sensorTypeId) const
{
    int64_t fastest = 0;
    for (const auto& [key, state] : entries_) {
        if (key.second == sensorTypeId && state.active &&
            (fastest == 0 || state.samplingInterval < fastest)) {
            fastest = state.samplingInterval;
        }
    }
    return fastest;
}

int SubscriptionTable::ActiveCount(int32_t sensorTypeId) const
{
    return static_cast<int>(std::count_if(entries_.begin(), entries_.end(), [&](const auto& e) {
        return e.first.second == sensorTypeId && e.second.active;
    }));
}

}  // namespace Tarvo::Platform
