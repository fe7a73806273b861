#include "worker_tracker.h"

#include <chrono>

namespace Tarvo::Host {

WorkerTracker& WorkerTracker::Instance()
{
    // Never destroyed: the library's static objects use it up to process exit.
    static WorkerTracker* instance = new WorkerTracker;
    return *instance;
}

void WorkerTracker::AdjustLocked(int64_t delta)
{
    outstanding_ += delta;
    // Only the step to idle is worth a wake-up.
    if (outstanding_ == 0 && waiters_ != 0) {
        idle_.notify_all();
    }
}

void WorkerTracker::OnSemInit(sem_t* sem)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto [it, added] = counters_.try_emplace(sem);
    if (!added) {  // initialised again without a destroy: start over
        AdjustLocked(-static_cast<int64_t>(it->second.posts + 1 - it->second.waits));
        it->second = Counters{};
    }
    AdjustLocked(1);  // its worker has not reached its first wait
}

void WorkerTracker::OnSemDestroy(sem_t* sem)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = counters_.find(sem);
    if (it != counters_.end()) {
        AdjustLocked(-static_cast<int64_t>(it->second.posts + 1 - it->second.waits));
        counters_.erase(it);
    }
}

void WorkerTracker::OnSemPost(sem_t* sem)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = counters_.find(sem);
    if (it != counters_.end()) {
        ++it->second.posts;
        AdjustLocked(1);
    }
}

void WorkerTracker::OnSemWait(sem_t* sem)
{
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = counters_.find(sem);
    if (it != counters_.end()) {
        ++it->second.waits;
        AdjustLocked(-1);
    }
}

void WorkerTracker::DeliveryQueued()
{
    std::lock_guard<std::mutex> lock(mutex_);
    AdjustLocked(1);
}

void WorkerTracker::DeliveryDone()
{
    std::lock_guard<std::mutex> lock(mutex_);
    AdjustLocked(-1);
}

bool WorkerTracker::WaitIdle(int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(mutex_);
    ++waiters_;
    const bool idle = idle_.wait_until(lock, deadline, [this] { return outstanding_ == 0; });
    --waiters_;
    return idle;
}

}  // namespace Tarvo::Host
