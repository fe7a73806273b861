// Watches the library's worker semaphores and the services' deliveries, so that a host
// can tell when every queued sample and touch has been handled.
//
// Each initialised semaphore has one worker that loops "wait, handle one item". It is
// idle once the worker has entered a wait with every post consumed:
// waits == posts + 1. A worker that has not reached its first wait is not idle yet.
// The tracker keeps one running total of what is outstanding (deliveries not finished,
// plus posts + 1 - waits over every semaphore), so a waiter is woken once, when it
// reaches zero. Posts and waits only touch atomics: the workers and delivery threads
// never queue on a lock of the tracker, except to let a wake batch go, once a batch.
#pragma once

#include <semaphore.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Tarvo::Host {

class WorkerTracker {
public:
    static WorkerTracker& Instance();

    void OnSemInit(sem_t* sem);
    void OnSemDestroy(sem_t* sem);
    void OnSemPost(sem_t* sem);
    // Counts a wait. True when it took one of the posts a wake batch let go as credits
    // (see ReleaseHeld): the caller then has its post and must not wait on `sem`.
    bool OnSemWait(sem_t* sem);
    // Which watched semaphore a held-back post is for: a slot, and the slot's generation
    // when the post was held, so that a semaphore destroyed meanwhile is told apart
    // from a new one at the same address.
    struct Ticket {
        size_t slot = 0;
        uint64_t generation = 0;
    };
    // The ticket for a post to `sem`; false for a semaphore the tracker does not watch,
    // whose posts are not held.
    bool TicketFor(const sem_t* sem, Ticket& ticket) const;
    // Lets go of `posts` held-back posts of the semaphore `ticket` names: all but one as
    // credits, taken by the next waits before the semaphore itself, and one post to
    // wake the waiter. A burst of sem_post calls would each make a system call while
    // the woken worker is still on its way. Posts for a semaphore destroyed since they
    // were held are dropped.
    void ReleaseHeld(const Ticket& ticket, int64_t posts);

    // A service has taken an item to deliver, and has finished delivering it.
    void DeliveryQueued() { Add(1); }
    void DeliveryDone() { Add(-1); }

    // Runs the hook (if any) on a delivery thread just before a delivery.
    void SetDeliveryHook(void (*hook)()) { hook_ = hook; }
    void BeforeDelivery()
    {
        if (auto* hook = hook_.load(std::memory_order_acquire)) {
            hook();
        }
    }

    // Waits until nothing is outstanding; false after `timeoutMs`. Spins for the first
    // SetWaitSpin microseconds before it sleeps.
    bool WaitIdle(int timeoutMs);
    void SetWaitSpin(int64_t microseconds) { spinUs_ = microseconds; }
    // What is outstanding now: queued work, plus workers not yet waiting.
    int64_t Outstanding() const { return outstanding_.load(); }

private:
    // The library has two semaphores; tests may make a few more.
    static constexpr size_t kSlots = 64;
    static constexpr size_t kCacheLine = 64;

    // Every post and wait looks its semaphore up and moves two counters. The slots'
    // semaphores are read on every call and rarely change, so they stay apart from the
    // counters: a count moving on one core must not evict the lookup on the other.
    struct alignas(kCacheLine) Counter {
        std::atomic<int64_t> value{0};
    };

    // The index of `sem`'s slot, or kSlots.
    size_t Find(const sem_t* sem) const;
    void Add(int64_t delta);

    alignas(kCacheLine) std::array<std::atomic<sem_t*>, kSlots> sems_{};
    // Moves on each time a slot is given to a semaphore or freed.
    std::array<std::atomic<uint64_t>, kSlots> generations_{};
    std::array<Counter, kSlots> counts_;   // posts + 1 - waits
    std::array<Counter, kSlots> credits_;  // posts let go as credits, not yet taken
    alignas(kCacheLine) std::atomic<int64_t> outstanding_{0};
    std::atomic<int> waiters_{0};           // read with every change of outstanding_
    alignas(kCacheLine) std::mutex mutex_;  // slot changes, and waiting
    std::condition_variable idle_;
    std::atomic<void (*)()> hook_{nullptr};
    std::atomic<int64_t> spinUs_{0};
    std::atomic<int64_t> spinBudgetUs_{0};  // what the next wait spins, at most spinUs_
};

}  // namespace Tarvo::Host
