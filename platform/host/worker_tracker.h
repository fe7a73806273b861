// Watches the library's worker semaphores and the services' deliveries, so that a host
// can tell when every queued sample and touch has been handled.
//
// Each initialised semaphore has one worker that loops "wait, handle one item". It is
// idle once the worker has entered a wait with every post consumed:
// waits == posts + 1. A worker that has not reached its first wait is not idle yet.
// The tracker keeps one running total of what is outstanding (deliveries not finished,
// plus posts + 1 - waits over every semaphore), so a waiter is woken once, when it
// reaches zero, rather than on every post and wait.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>

namespace Tarvo::Host {

class WorkerTracker {
public:
    static WorkerTracker& Instance();

    void OnSemInit(sem_t* sem);
    void OnSemDestroy(sem_t* sem);
    void OnSemPost(sem_t* sem);
    void OnSemWait(sem_t* sem);

    // A service has taken an item to deliver, and has finished delivering it.
    void DeliveryQueued();
    void DeliveryDone();

    // Runs the hook (if any) on a delivery thread just before a delivery.
    void SetDeliveryHook(void (*hook)()) { hook_ = hook; }
    void BeforeDelivery()
    {
        if (auto* hook = hook_.load(std::memory_order_acquire)) {
            hook();
        }
    }

    // Waits until nothing is outstanding; false after `timeoutMs`.
    bool WaitIdle(int timeoutMs);

private:
    struct Counters {
        uint64_t posts = 0;
        uint64_t waits = 0;
    };

    void AdjustLocked(int64_t delta);

    std::mutex mutex_;
    std::condition_variable idle_;
    int64_t outstanding_ = 0;
    int waiters_ = 0;
    std::map<sem_t*, Counters> counters_;  // initialised, not yet destroyed
    std::atomic<void (*)()> hook_{nullptr};
};

}  // namespace Tarvo::Host
