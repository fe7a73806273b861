// A sensor service's subscribers: who has subscribed to and activated which sensor, with
// the intervals they asked for, by the rules every sensor service keeps: batch settings
// and activation only once subscribed, deactivation only when active, and unsubscribing
// ends the activation. Not locked itself: the service calls it with its own lock held.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "sensor_service_client.h"

namespace Tarvo::Platform {

class SubscriptionTable {
public:
    struct State {
        bool subscribed = false;
        bool active = false;
        int64_t samplingInterval = 0;  // ns, as set by SetBatch
        int64_t reportInterval = 0;
    };

    // Always succeeds: whether the sensor exists is the service's to say.
    void Subscribe(const SensorUser* user, int32_t sensorTypeId);
    bool SetBatch(const SensorUser* user, int32_t sensorTypeId, int64_t samplingInterval,
                  int64_t reportInterval);
    bool Activate(const SensorUser* user, int32_t sensorTypeId);
    bool Deactivate(const SensorUser* user, int32_t sensorTypeId);
    bool Unsubscribe(const SensorUser* user, int32_t sensorTypeId);

    State Get(const SensorUser* user, int32_t sensorTypeId) const;
    // The subscribers that have `sensorTypeId` active (any sensor when nullopt), each once.
    void Recipients(std::optional<int32_t> sensorTypeId,
                    std::vector<const SensorUser*>& users) const;
    // The sensors some subscriber has active.
    std::set<int32_t> ActiveSensors() const;
    // The shortest sampling interval an active subscriber of the sensor asked for; 0 for
    // none.
    int64_t FastestInterval(int32_t sensorTypeId) const;
    int ActiveCount(int32_t sensorTypeId) const;
    int Count() const { return static_cast<int>(entries_.size()); }
    void Clear() { entries_.clear(); }

private:
    State* Find(const SensorUser* user, int32_t sensorTypeId);

    std::map<std::pair<const SensorUser*, int32_t>, State> entries_;
};

}  // namespace Tarvo::Platform
