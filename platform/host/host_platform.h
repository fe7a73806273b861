// Control API of the host platform: what tests and tools use to play the device.
//
// The host platform stands in for the sensor service, the input service, the platform
// log and thread support (platform/include). Everything here is process-wide and
// thread-safe; the services deliver on their own threads, as the real ones do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// \file
/// HostPlatform, the control API of the host platform library (QuilMotion::host_platform,
/// pkg-config quil-motion-host): a test host's way to play the device the plug-in runs on.

/// The host platform: stand-ins for the device's services on a development machine.
namespace Tarvo::Host {

/// Sensor service calls that can be made to fail.
enum class SensorCall {
    GET_ALL_SENSORS,     ///< the device's sensor list ("GetAllSensors")
    SUBSCRIBE_SENSOR,    ///< subscribing to a sensor ("SubscribeSensor")
    SET_BATCH,           ///< setting the sampling and report intervals ("SetBatch")
    ACTIVATE_SENSOR,     ///< starting delivery ("ActivateSensor")
    DEACTIVATE_SENSOR,   ///< stopping delivery ("DeactivateSensor")
    UNSUBSCRIBE_SENSOR,  ///< ending a subscription ("UnsubscribeSensor")
};

/// Looks a call up by the name traces use.
/// \param name "GetAllSensors", "SubscribeSensor", "SetBatch", "ActivateSensor",
///        "DeactivateSensor" or "UnsubscribeSensor".
/// \return the call, or nullopt for any other name.
std::optional<SensorCall> SensorCallFromName(const std::string& name);
/// \param call a sensor service call.
/// \return its name as traces use it ("GetAllSensors", ...).
const char* SensorCallName(SensorCall call);

/// \struct LogLine host_platform.h <quil_motion/host_platform.h>
/// One platform log line as written.
struct LogLine {
    int level = 0;            ///< 3 debug .. 7 fatal
    unsigned int domain = 0;  ///< the log domain of the writer
    std::string tag;          ///< the writing class's name
    std::string message;      ///< format rendered, privacy flags removed
};

/// Formats a log line as the platform log writes it.
/// \param line the line.
/// \return "<L> D002210/<tag>: <message>" with L one of D I W E F for levels 3 to 7.
std::string FormatLogLine(const LogLine& line);

/// \struct SubscriptionState host_platform.h <quil_motion/host_platform.h>
/// What the sensor service holds for one subscriber and sensor type.
struct SubscriptionState {
    bool subscribed = false;       ///< SubscribeSensor succeeded and was not undone
    bool active = false;           ///< ActivateSensor succeeded and was not undone
    int64_t samplingInterval = 0;  ///< ns, as set by SetBatch
    int64_t reportInterval = 0;    ///< ns, as set by SetBatch
};

/// \class HostPlatform host_platform.h <quil_motion/host_platform.h>
/// Control API of the host platform. All members are static: there is one simulated
/// device per process, shared by the plug-in and the host program (which is why the
/// platform is a shared library).
///
/// A test host typically calls Reset(), loads the plug-in, enables a motion type,
/// injects samples or touches and calls WaitIdle() before checking the reports its
/// callback received.
class HostPlatform {
public:
    /// Back to the state of a fresh device: sensor list 1,5,12, no faults, no
    /// subscriptions, monitor ids counting from 1, no monitors, host log level off,
    /// no log sink, thread naming works. Waits for idle first.
    static void Reset();

    // --- sensor service ---------------------------------------------------------
    /// Sets the sensor list the device reports. Existing subscriptions are kept.
    /// \param sensorTypeIds sensor type ids: 1 accelerometer, 5 ambient light, 12
    ///        proximity, or any other id.
    static void SetDeviceSensors(const std::vector<int32_t>& sensorTypeIds);
    /// Makes a sensor service call fail from now on.
    /// \param call the call to fail.
    /// \param sensorTypeId the sensor it fails for, or nullopt for every sensor.
    static void Fail(SensorCall call, std::optional<int32_t> sensorTypeId);
    /// Undoes exactly the matching Fail(); without one, does nothing.
    /// \param call the call given to Fail().
    /// \param sensorTypeId the same id, or the same absence of one.
    static void Heal(SensorCall call, std::optional<int32_t> sensorTypeId);
    /// Delivers one sample to every subscriber that has subscribed to and activated
    /// the sensor. Returns at once; delivery happens on the service's thread
    /// (on this one with SetInlineDelivery).
    /// \param sensorTypeId the sensor type id (1 accelerometer, 5 ambient light, 12
    ///        proximity).
    /// \param values the sample's floats (accelerometer x, y, z in m/s²; light
    ///        intensity; proximity distance), zero-padded to at least four.
    /// \param timestampNs the sample's time stamp, in nanoseconds.
    static void InjectSample(int32_t sensorTypeId, const std::vector<float>& values,
                             int64_t timestampNs = 0);
    /// Makes the injecting thread play the services' delivery thread: each injected
    /// sample or touch event is handed to the library before the injection returns
    /// (after anything still queued, one delivery at a time, with the same waits for
    /// Deactivate, Unsubscribe and RemoveMonitor). A host that delivers and then waits,
    /// as a service's thread does between events, measures the library's hand-off
    /// rather than its own; a replay saves a thread. Reset turns it off.
    /// \param on true to deliver on the injecting thread, false for the services' own.
    static void SetInlineDelivery(bool on);
    /// With inline delivery, holds back the semaphore posts the library makes inside
    /// deliveries on the calling thread and lets them go `posts` at a time. For a host
    /// that delivers back to back and then waits, as a replay does: a library worker
    /// that keeps up is then woken once a batch rather than once an event. Every call,
    /// and WaitIdle on this thread, first lets go of what is held. Only the calling
    /// thread is affected; Reset turns it off there.
    /// \param posts the batch size; 0 (the default) posts at once.
    static void SetWakeBatch(size_t posts);
    /// Call every subscriber's callback of every active sensor with a null event,
    /// once per subscriber record.
    static void InjectNullEvent();
    /// Reads the service's state of one subscription.
    /// \param user a subscriber record of the sensor service client (a SensorUser*).
    /// \param sensorTypeId a sensor type id.
    /// \return what the service holds for that subscriber and sensor.
    static SubscriptionState GetSubscription(const void* user, int32_t sensorTypeId);
    /// Counts the subscribers delivering one sensor.
    /// \param sensorTypeId a sensor type id.
    /// \return the number of subscribers that have activated the sensor.
    static int ActiveSubscriberCount(int32_t sensorTypeId);
    /// Counts the subscriptions held.
    /// \return the number of (subscriber, sensor type) subscriptions held, active or
    ///         not: 0 once every client has left the service as it found it.
    static int SubscriptionCount();

    // --- input service ----------------------------------------------------------
    /// Sets what the input service's AddMonitor returns from now on.
    /// \param monitorId the id to return; the monitor is installed only when it is not
    ///        negative.
    static void SetMonitorId(int32_t monitorId);
    /// Delivers a touch event to every installed monitor, on the service's thread.
    /// \param action pointer action code: 2 down, 3 move, 4 up, or any other value.
    /// \param pointerId the acting pointer (finger).
    /// \param x its display x coordinate, in pixels.
    /// \param y its display y coordinate, in pixels.
    /// \param pointerIds the ids of every pointer on the screen.
    static void InjectTouch(int32_t action, int32_t pointerId, int32_t x, int32_t y,
                            const std::vector<int32_t>& pointerIds);
    /// Delivers a touch event whose acting pointer has no item (GetPointerItem fails).
    /// \param action pointer action code.
    /// \param pointerId the acting pointer.
    /// \param pointerIds the ids of every pointer on the screen.
    static void InjectTouchNoItem(int32_t action, int32_t pointerId,
                                  const std::vector<int32_t>& pointerIds);
    /// Counts the input monitors.
    /// \return the number of input monitors installed (by enabled touch gestures).
    static int InstalledMonitorCount();

    // --- log --------------------------------------------------------------------
    /// Sets which platform log lines are written; the default is none.
    /// \param level lines at this level and above are written: 3 debug, 4 info, 5
    ///        warning, 6 error, 7 fatal, 8 or more none.
    static void SetLogLevel(int level);
    /// Sends written log lines to a function instead of stderr.
    /// \param sink called with every written line, on the logging thread, under the
    ///        log's lock; an empty function removes it and lines go to stderr again.
    static void SetLogSink(std::function<void(const LogLine&)> sink);

    // --- thread support ---------------------------------------------------------
    /// Makes naming a thread fail, or work again.
    /// \param fails true: naming a thread fails from now on; false: it works again.
    static void SetThreadNamingFails(bool fails);

    // --- quiescence -------------------------------------------------------------
    /// Blocks until the services have delivered everything injected so far and every
    /// library worker thread is waiting on its semaphore with nothing left to take:
    /// every report caused so far has then been delivered.
    /// \param timeoutMs the longest wait, in milliseconds.
    /// \return true when idle; false if that did not happen in time.
    static bool WaitIdle(int timeoutMs = 10000);
    /// How much is outstanding now (queued samples and touch events, deliveries under
    /// way, workers not yet waiting): 0 when idle. A waiter that sees it change knows
    /// the workers are getting on, however slowly.
    /// \return the count of outstanding items.
    static int64_t OutstandingWork();
    /// Makes WaitIdle spin for up to `microseconds` before it sleeps. A host that waits
    /// after every event, with the library's work on another core, then does not pay
    /// for being woken from there, which on a virtual machine can cost tens of
    /// microseconds a wait; the spin costs a core while it lasts. Reset sets 0 (the
    /// default): no spin.
    /// \param microseconds the longest spin.
    static void SetWaitSpin(int microseconds);

    // --- measuring --------------------------------------------------------------
    /// Sets a function to run as each sample or touch event is delivered.
    /// \param hook runs on a service's delivery thread just before each sample or touch
    ///        event is handed to the library (nullptr for none): the start of a latency
    ///        measurement.
    static void SetDeliveryHook(void (*hook)());
};

}  // namespace Tarvo::Host
