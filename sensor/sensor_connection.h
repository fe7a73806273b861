// The library's one link to the platform sensor service: subscribes sensors, queues
// every sample the service delivers, and hands each one, on its own worker thread, to
// every bound recogniser. A process-wide singleton that lives from load to exit.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "event_ring.h"
#include "sensor_service_client.h"
#include "singleton.h"
#include "small_vector.h"

namespace Tarvo::Quil {

class SensorConnection {
public:
    // The values of one queued sample, copied out of the platform's block: the service
    // may reuse its block before the worker gets to the sample. Sized for the largest
    // sample the recognisers read (three values) and one more; longer samples are cut.
    // Kept small, as every sample crosses from the delivery thread's core to the
    // worker's: two queued samples share a cache line.
    static constexpr size_t kSampleBytes = 4 * sizeof(float);
    struct Sample {
        int32_t sensorTypeId = 0;
        bool hasData = false;  // the platform's data pointer was not null
        int64_t timestamp = 0;
        alignas(8) uint8_t data[kSampleBytes] = {};
    };

    static SensorConnection& GetInstance() { return Singleton<SensorConnection>::GetInstance(); }

    ~SensorConnection();
    SensorConnection(const SensorConnection&) = delete;
    SensorConnection& operator=(const SensorConnection&) = delete;

    bool RegisterSensor(int type, int sensorTypeId);
    bool UnregisterSensor(int type, int sensorTypeId);
    bool IsSupportedSensor(int sensorTypeId);
    // Binds `callback` under motion type `type`, replacing an earlier binding. `owner` is
    // kept alive for as long as a dispatch into the binding runs, so the bound object
    // may be released from inside its own callback.
    void RegisterEvent(int type, std::function<int(int, void*)> callback,
                       std::shared_ptr<void> owner = nullptr);
    // Removes the binding of `type`: no dispatch starts a call into it any more. A call
    // already running is not waited for here (the caller may hold a lock the reporting
    // host needs); WaitForDispatch does that.
    void UnregisterEvent(int type);
    // Returns once the dispatch in flight, if any, has ended; at once on the worker
    // itself (a report calling back in cannot wait for itself).
    void WaitForDispatch();

    // Called by the sensor service on its delivery thread.
    static void SensorDataCallbackImpl(SensorEvent* event);
    void PushData(const SensorEvent& event);
    void NotifyCallback(int sensorTypeId, void* data);

    // Deactivates and unsubscribes every sensor this connection still has subscribed.
    // Quiet unless a platform call fails; used when the last host object goes and at
    // unload, so no delivery outlives the code it would call.
    void UnregisterAllSensors();

private:
    friend class Singleton<SensorConnection>;
    SensorConnection();

    struct Binding {
        std::function<int(int, void*)> callback;
        std::shared_ptr<void> owner;
        uint64_t since = 0;  // dispatches numbered below this one never see the binding
    };

    // A binding as one dispatch calls it: a copy, so that the binding may go while it
    // runs.
    struct DueBinding {
        int type = 0;
        std::function<int(int, void*)> callback;
    };
    // One per motion type a recogniser listens for stays inline.
    static constexpr size_t kInlineBindings = 8;

    // Calls the bindings after `lastType` one at a time, each looked up under the lock.
    void DispatchByLookup(int sensorTypeId, void* data, uint64_t serial,
                          std::optional<int> lastType);
    // Releases what was retired during the dispatch, then ends it.
    void EndDispatch();
    // Marks the bindings changed, so the next dispatch copies them again.
    void BindingsChangedLocked();
    // Keeps `owner` (moved from) until the dispatch in flight ends, if there is one.
    void RetireLocked(std::shared_ptr<void>& owner);
    void AlgorithmLoop();
    void HandleSensorEvent();
    // Moves the oldest sample into `out`; false (and the queue's error line) when empty.
    // Takes the whole queue at once when the worker's own batch is empty, so the lock it
    // shares with the delivery thread is taken once per burst, not once per sample.
    bool TakeFront(Sample& out);
    bool IsWorkerThread() const;

    // The delivery thread and the worker each write their own state on every sample:
    // kept on separate cache lines, neither stalls the other.
    static constexpr size_t kCacheLine = 64;

    SensorUser sensorUser_{};
    // Sensors subscribed through sensorUser_, for UnregisterAllSensors.
    std::set<int> subscribed_;
    std::mutex subscribedMutex_;
    std::unique_ptr<std::thread> thread_;
    std::atomic<bool> running_{false};

    // Guards the bindings and the dispatch record; never held while a binding runs, so
    // the host may bind and unbind from inside a report, on any thread.
    alignas(kCacheLine) std::mutex callbackMutex_;
    std::condition_variable dispatchEnded_;
    std::map<int, Binding> callbacks_;
    // Moves on with every bind and unbind: a dispatch that sees it unchanged may call
    // the bindings it took at its start.
    std::atomic<uint64_t> bindingsVersion_{0};
    uint64_t dispatchSerial_ = 0;
    bool dispatching_ = false;
    // The bindings as of bindingsVersion_ == dueVersion_, copied at the start of the
    // dispatch that first saw that version and kept while it stands, so a steady stream
    // copies no callbacks. Written under the lock only while no dispatch runs; the
    // dispatch in flight reads it without the lock.
    SmallVector<DueBinding, kInlineBindings> due_;
    uint64_t dueVersion_ = UINT64_MAX;
    std::vector<std::shared_ptr<void>> retired_;  // recognisers unbound mid-dispatch
    Sample current_;                              // the sample being dispatched; worker only
    // Samples the worker has taken off the queue in one go and not yet dispatched; each
    // still has its semaphore post to be waited for. Worker only.
    EventRing<Sample> taken_;

    // Queued samples, in storage that grows while the worker falls behind and then
    // stays, so a steady stream allocates nothing.
    alignas(kCacheLine) std::mutex eventMutex_;
    EventRing<Sample> events_;
    alignas(kCacheLine) sem_t sem_{};
};

}  // namespace Tarvo::Quil
