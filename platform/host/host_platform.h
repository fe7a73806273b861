// Control API of the host platform: what tests and tools use to play the device.
//
// The host platform stands in for the sensor service, the input service, the platform
// log and thread support (platform/include). Everything here is process-wide and
// thread-safe; the services deliver on their own threads, as the real ones do.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Tarvo::Host {

// Sensor service calls that can be made to fail.
enum class SensorCall {
    GET_ALL_SENSORS,
    SUBSCRIBE_SENSOR,
    SET_BATCH,
    ACTIVATE_SENSOR,
    DEACTIVATE_SENSOR,
    UNSUBSCRIBE_SENSOR,
};

// Name as used in traces ("GetAllSensors", "SubscribeSensor", ...); nullopt if unknown.
std::optional<SensorCall> SensorCallFromName(const std::string& name);
const char* SensorCallName(SensorCall call);

// One platform log line as written.
struct LogLine {
    int level = 0;  // 3 debug .. 7 fatal
    unsigned int domain = 0;
    std::string tag;
    std::string message;  // format rendered, privacy flags removed
};

// "<L> D002210/<tag>: <message>" with L one of D I W E F.
std::string FormatLogLine(const LogLine& line);

// What the sensor service holds for one subscriber and sensor type.
struct SubscriptionState {
    bool subscribed = false;
    bool active = false;
    int64_t samplingInterval = 0;  // ns, as set by SetBatch
    int64_t reportInterval = 0;
};

class HostPlatform {
public:
    // Back to the state of a fresh device: sensor list 1,5,12, no faults, no
    // subscriptions, monitor ids counting from 1, no monitors, host log level off,
    // no log sink, thread naming works. Waits for idle first.
    static void Reset();

    // --- sensor service ---------------------------------------------------------
    static void SetDeviceSensors(const std::vector<int32_t>& sensorTypeIds);
    // Make `call` fail for `sensorTypeId`, or for every sensor when it is nullopt.
    static void Fail(SensorCall call, std::optional<int32_t> sensorTypeId);
    // Undo exactly the matching Fail (same call, same id or same absence of one).
    static void Heal(SensorCall call, std::optional<int32_t> sensorTypeId);
    // Deliver one sample (zero-padded to at least four floats) to every subscriber
    // that has subscribed to and activated `sensorTypeId`. Returns at once; delivery
    // happens on the service's thread.
    static void InjectSample(int32_t sensorTypeId, const std::vector<float>& values,
                             int64_t timestampNs = 0);
    // Call every subscriber's callback of every active sensor with a null event,
    // once per subscriber record.
    static void InjectNullEvent();
    // State of the subscriber record `user` (a SensorUser*) for a sensor type.
    static SubscriptionState GetSubscription(const void* user, int32_t sensorTypeId);
    // Number of subscribers that have activated `sensorTypeId`.
    static int ActiveSubscriberCount(int32_t sensorTypeId);
    // Number of (subscriber, sensor type) subscriptions held, active or not: 0 once
    // every client has left the service as it found it.
    static int SubscriptionCount();

    // --- input service ----------------------------------------------------------
    // From now on AddMonitor returns `monitorId` (installing the monitor only when it
    // is not negative).
    static void SetMonitorId(int32_t monitorId);
    // Deliver a touch event to every installed monitor, on the service's thread. The
    // acting pointer carries an item at (x, y).
    static void InjectTouch(int32_t action, int32_t pointerId, int32_t x, int32_t y,
                            const std::vector<int32_t>& pointerIds);
    // The same, but the acting pointer has no item (GetPointerItem fails).
    static void InjectTouchNoItem(int32_t action, int32_t pointerId,
                                  const std::vector<int32_t>& pointerIds);
    static int InstalledMonitorCount();

    // --- log --------------------------------------------------------------------
    // Lines at `level` and above (3 debug .. 7 fatal, 8 or more for none) are
    // written; the default is none.
    static void SetLogLevel(int level);
    // Every written line goes to `sink` (called on the logging thread, under the
    // log's lock); an empty function removes it. With no sink, lines go to stderr.
    static void SetLogSink(std::function<void(const LogLine&)> sink);

    // --- thread support ---------------------------------------------------------
    static void SetThreadNamingFails(bool fails);

    // --- quiescence -------------------------------------------------------------
    // Blocks until the services have delivered everything injected so far and every
    // library worker thread is waiting on its semaphore with nothing left to take.
    // Returns false if that does not happen within `timeoutMs`.
    static bool WaitIdle(int timeoutMs = 10000);
};

}  // namespace Tarvo::Host
