#include "worker_tracker.h"

#include <chrono>

namespace Tarvo::Host {

WorkerTracker& WorkerTracker::Instance()
{
    // Never destroyed: the library's static objects use it up to process exit.
    static WorkerTracker* instance = new WorkerTracker;
    return *instance;
}

WorkerTracker::Slot* WorkerTracker::Find(sem_t* sem)
{
    for (Slot& slot : slots_) {
        if (slot.sem.load(std::memory_order_acquire) == sem) {
            return &slot;
        }
    }
    return nullptr;
}

void WorkerTracker::Add(int64_t delta)
{
    // Sequentially consistent with the waiter's count: either the waiter sees zero, or
    // this thread sees the waiter and wakes it.
    if (outstanding_.fetch_add(delta) + delta == 0 && waiters_.load() != 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        idle_.notify_all();
    }
}

void WorkerTracker::OnSemInit(sem_t* sem)
{
    std::lock_guard<std::mutex> lock(mutex_);
    Slot* slot = Find(sem);
    if (slot != nullptr) {  // initialised again without a destroy: start over
        outstanding_ -= slot->outstanding.exchange(0);
    } else {
        slot = Find(nullptr);
        if (slot == nullptr) {
            return;  // more semaphores than slots: this one goes unwatched
        }
    }
    slot->outstanding = 1;  // its worker has not reached its first wait
    outstanding_ += 1;
    slot->sem.store(sem, std::memory_order_release);
}

void WorkerTracker::OnSemDestroy(sem_t* sem)
{
    std::unique_lock<std::mutex> lock(mutex_);
    Slot* slot = Find(sem);
    if (slot == nullptr) {
        return;
    }
    slot->sem.store(nullptr, std::memory_order_release);
    const int64_t left = slot->outstanding.exchange(0);
    lock.unlock();
    Add(-left);
}

void WorkerTracker::OnSemPost(sem_t* sem)
{
    if (Slot* slot = Find(sem)) {
        slot->outstanding.fetch_add(1);
        Add(1);
    }
}

void WorkerTracker::OnSemWait(sem_t* sem)
{
    if (Slot* slot = Find(sem)) {
        slot->outstanding.fetch_sub(1);
        Add(-1);
    }
}

bool WorkerTracker::WaitIdle(int timeoutMs)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(mutex_);
    waiters_.fetch_add(1);
    const bool idle = idle_.wait_until(lock, deadline, [this] { return outstanding_.load() == 0; });
    waiters_.fetch_sub(1);
    return idle;
}

}  // namespace Tarvo::Host
