// The library's link to the platform input service: monitors pointer events, turns
// them into PointerEvent records, and hands them one at a time, on its own worker
// thread, to one subscriber (the gesture manager).
#pragma once

#include <semaphore.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "event_ring.h"
#include "pointer_event.h"

namespace Tarvo::Quil {

class PointerInputConnection {
public:
    PointerInputConnection();
    // Removes the monitor and stops the worker before it returns; when it runs on the
    // worker itself (the host destroying everything from inside a gesture report), the
    // worker ends as soon as that report returns.
    ~PointerInputConnection();
    PointerInputConnection(const PointerInputConnection&) = delete;
    PointerInputConnection& operator=(const PointerInputConnection&) = delete;

    // Starts the worker (again, after an unsubscription) and installs the monitor; -1
    // only for the illegal id -2.
    int SubscribePointerInput();
    // Removes the monitor; the worker stays parked until destruction or a new
    // subscription.
    int UnsubscribePointerInput();
    int SubscribePointerEvent(std::function<void(PointerEvent)> callback);
    int UnsubscribePointerEvent();
    void PushData(PointerEvent event);
    void NotifyPointerEvent();

private:
    using Subscriber = std::function<void(PointerEvent)>;

    // What the worker and the monitor touch. Shared with the worker thread, so that a
    // connection destroyed from inside its own worker leaves the worker intact until
    // it has unwound.
    struct Channel {
        ~Channel();
        void Push(PointerEvent event);
        void Notify();
        // False once the worker must end; marks the worker done in the same step.
        bool KeepRunning();

        // Written by the service's thread on every event.
        EventRing<PointerEvent> events;
        PointerEvent pointerEvent;  // staging copy of the latest pushed record
        sem_t sem{};
        bool semReady = false;
        std::mutex mutex;
        // Read by the worker, replaced by the host's thread: atomic shared_ptr access, so
        // a dispatch keeps the subscriber it started with.
        std::shared_ptr<const Subscriber> callback;
        std::atomic<bool> running{false};
        std::mutex lifeMutex;    // orders `running` changes against the worker's exit
        bool workerDone = true;  // guarded by lifeMutex
        // The worker's own, on a cache line of its own: records it has taken off the
        // queue in one go and not yet handed on, each with its post still to wait for.
        // The queue's lock is then taken once a burst, not once an event.
        alignas(64) EventRing<PointerEvent> taken;
    };

    static void AlgorithmLoop(const std::shared_ptr<Channel>& channel);
    void StartWorkerIfNeeded();

    std::shared_ptr<Channel> channel_;
    int32_t monitorId_ = 0;
    bool monitored_ = false;  // AddMonitor was called and not yet undone
    std::shared_ptr<std::thread> thread_;
};

}  // namespace Tarvo::Quil
