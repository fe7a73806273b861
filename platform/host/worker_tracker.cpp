#include "worker_tracker.h"

#include <chrono>

namespace Tarvo::Host {

WorkerTracker& WorkerTracker::Instance()
{
    // Never destroyed: the library's static objects use it up to process exit.
    static WorkerTracker* instance = new WorkerTracker;
    return *instance;
}

void WorkerTracker::OnSemInit(sem_t* sem)
{
    std::lock_guard<std::mutex> lock(mutex_);
    counters_[sem] = Counters{};
    ++generation_;
}

void WorkerTracker::OnSemDestroy(sem_t* sem)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        counters_.erase(sem);
        ++generation_;
    }
    changed_.notify_all();
}

void WorkerTracker::OnSemPost(sem_t* sem)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = counters_.find(sem);
        if (it != counters_.end()) {
            ++it->second.posts;
        }
        ++generation_;
    }
    changed_.notify_all();
}

void WorkerTracker::OnSemWait(sem_t* sem)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = counters_.find(sem);
        if (it != counters_.end()) {
            ++it->second.waits;
        }
        ++generation_;
    }
    changed_.notify_all();
}

void WorkerTracker::Notify()
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++generation_;
    }
    changed_.notify_all();
}

bool WorkerTracker::WorkersIdleLocked() const
{
    for (const auto& [sem, counters] : counters_) {
        (void)sem;
        if (counters.waits != counters.posts + 1) {
            return false;
        }
    }
    return true;
}

bool WorkerTracker::WaitFor(const std::function<bool()>& othersIdle, int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        const uint64_t seen = generation_;
        lock.unlock();
        const bool othersDone = othersIdle();
        lock.lock();
        if (generation_ != seen) {
            continue;  // something moved while we looked: look again
        }
        if (othersDone && WorkersIdleLocked()) {
            return true;
        }
        if (!changed_.wait_until(lock, deadline, [&] { return generation_ != seen; })) {
            return false;
        }
    }
}

}  // namespace Tarvo::Host
