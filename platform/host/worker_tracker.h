// Watches the library's worker semaphores, so that a host can tell when every queued
// sample and touch has been handled.
//
// Each initialised semaphore has one worker that loops "wait, handle one item". It is
// idle once the worker has entered a wait with every post consumed:
// waits == posts + 1. A worker that has not reached its first wait is not idle yet.
#pragma once

#include <semaphore.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
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

    // Wakes WaitFor; services call it whenever they finish a delivery.
    void Notify();
    // Waits until `othersIdle()` holds and every worker is idle; false after
    // `timeoutMs`. `othersIdle` is evaluated without the tracker's lock held.
    bool WaitFor(const std::function<bool()>& othersIdle, int timeoutMs);

private:
    struct Counters {
        uint64_t posts = 0;
        uint64_t waits = 0;
    };

    bool WorkersIdleLocked() const;
    void Changed();

    std::mutex mutex_;
    std::condition_variable changed_;
    uint64_t generation_ = 0;
    std::map<sem_t*, Counters> counters_;  // initialised, not yet destroyed
};

}  // namespace Tarvo::Host
