#include "worker_tracker.h"

#include <algorithm>
#include <chrono>

namespace Tarvo::Host {
namespace {
// A worker woken from another core needs a few microseconds before it is done with one
// record; a spin shorter than that would always fail.
constexpr int64_t kMinSpinUs = 8;

// Tells the processor this is a spin, so the other hardware thread of its core runs on.
void CpuRelax()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}
}  // namespace

WorkerTracker& WorkerTracker::Instance()
{
    // Never destroyed: the library's static objects use it up to process exit.
    static WorkerTracker* instance = new WorkerTracker;
    return *instance;
}

size_t WorkerTracker::Find(const sem_t* sem) const
{
    for (size_t i = 0; i < kSlots; ++i) {
        if (sems_[i].load(std::memory_order_acquire) == sem) {
            return i;
        }
    }
    return kSlots;
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
    size_t slot = Find(sem);
    if (slot != kSlots) {  // initialised again without a destroy: start over
        outstanding_ -= counts_[slot].value.exchange(0);
    } else {
        slot = Find(nullptr);
        if (slot == kSlots) {
            return;  // more semaphores than slots: this one goes unwatched
        }
    }
    generations_[slot].fetch_add(1);
    credits_[slot].value = 0;
    counts_[slot].value = 1;  // its worker has not reached its first wait
    outstanding_ += 1;
    sems_[slot].store(sem, std::memory_order_release);
}

void WorkerTracker::OnSemDestroy(sem_t* sem)
{
    std::unique_lock<std::mutex> lock(mutex_);
    const size_t slot = Find(sem);
    if (slot == kSlots) {
        return;
    }
    sems_[slot].store(nullptr, std::memory_order_release);
    generations_[slot].fetch_add(1);
    const int64_t left = counts_[slot].value.exchange(0);
    credits_[slot].value = 0;
    lock.unlock();
    Add(-left);
}

void WorkerTracker::OnSemPost(sem_t* sem)
{
    const size_t slot = Find(sem);
    if (slot != kSlots) {
        counts_[slot].value.fetch_add(1);
        Add(1);
    }
}

bool WorkerTracker::OnSemWait(sem_t* sem)
{
    const size_t slot = Find(sem);
    if (slot == kSlots) {
        return false;
    }
    counts_[slot].value.fetch_sub(1);
    Add(-1);
    std::atomic<int64_t>& credits = credits_[slot].value;
    int64_t left = credits.load(std::memory_order_relaxed);
    while (left > 0) {
        if (credits.compare_exchange_weak(left, left - 1)) {
            return true;
        }
    }
    return false;
}

bool WorkerTracker::TicketFor(const sem_t* sem, Ticket& ticket) const
{
    const size_t slot = Find(sem);
    if (slot == kSlots) {
        return false;
    }
    ticket = Ticket{slot, generations_[slot].load()};
    return true;
}

void WorkerTracker::ReleaseHeld(const Ticket& ticket, int64_t posts)
{
    // Under the lock that destroying takes, so the semaphore cannot go between the
    // check and the post.
    std::lock_guard<std::mutex> lock(mutex_);
    sem_t* const sem = sems_[ticket.slot].load();
    if (sem == nullptr || generations_[ticket.slot].load() != ticket.generation) {
        return;
    }
    credits_[ticket.slot].value.fetch_add(posts - 1);
    sem_post(sem);
}

bool WorkerTracker::WaitIdle(int timeoutMs)
{
    // Spins only as long as spinning has lately paid: on a machine busy with other work
    // the worker may need this very core, and the spin then halves each time it fails.
    const int64_t limit = spinUs_.load();
    const int64_t budget = std::min(std::max(spinBudgetUs_.load(), kMinSpinUs), limit);
    if (limit > 0) {
        const auto spinUntil = std::chrono::steady_clock::now() + std::chrono::microseconds(budget);
        do {
            if (outstanding_.load() == 0) {
                spinBudgetUs_ = std::min(limit, budget * 2 + 1);
                return true;
            }
            CpuRelax();
        } while (std::chrono::steady_clock::now() < spinUntil);
        spinBudgetUs_ = budget / 2;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::unique_lock<std::mutex> lock(mutex_);
    waiters_.fetch_add(1);
    const bool idle = idle_.wait_until(lock, deadline, [this] { return outstanding_.load() == 0; });
    waiters_.fetch_sub(1);
    return idle;
}

}  // namespace Tarvo::Host
