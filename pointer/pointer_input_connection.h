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
    ~PointerInputConnection();
    PointerInputConnection(const PointerInputConnection&) = delete;
    PointerInputConnection& operator=(const PointerInputConnection&) = delete;

    // Starts the worker and installs the monitor; -1 only for the illegal id -2.
    int SubscribePointerInput();
    // Removes the monitor; the worker stays parked until destruction.
    int UnsubscribePointerInput();
    int SubscribePointerEvent(std::function<void(PointerEvent)> callback);
    int UnsubscribePointerEvent();

    void PushData(PointerEvent event);
    void NotifyPointerEvent();

private:
    void AlgorithmLoop();

    EventRing<PointerEvent> events_;
    PointerEvent pointerEvent_;
    sem_t sem_{};
    std::mutex mutex_;
    std::function<void(PointerEvent)> callback_;
    int32_t monitorId_ = 0;
    bool monitored_ = false;  // AddMonitor was called and not yet undone
    // Atomic: the destructor clears it while the worker reads it.
    std::atomic<bool> running_{false};
    std::shared_ptr<std::thread> thread_;
};

}  // namespace Tarvo::Quil
