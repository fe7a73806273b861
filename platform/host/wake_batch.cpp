#include "wake_batch.h"

#include <array>

#include "worker_tracker.h"

namespace Tarvo::Host {
namespace {

// The library has two semaphores; a few more slots cost nothing.
constexpr size_t kSems = 4;

struct Held {
    sem_t* sem = nullptr;
    size_t posts = 0;
};

struct ThreadState {
    size_t size = 0;  // 0: posts are not held
    int deliveries = 0;
    size_t total = 0;
    std::array<Held, kSems> held{};
};
thread_local ThreadState tState;

}  // namespace

void WakeBatch::SetSize(size_t posts)
{
    Release();
    tState.size = posts;
}

bool WakeBatch::Hold(sem_t* sem)
{
    ThreadState& state = tState;
    if (state.size == 0 || state.deliveries == 0) {
        return false;
    }
    Held* slot = nullptr;
    for (Held& held : state.held) {
        if (held.sem == sem || (slot == nullptr && held.posts == 0)) {
            slot = &held;
            if (held.sem == sem) {
                break;
            }
        }
    }
    if (slot == nullptr) {
        return false;  // more semaphores than slots: this one is posted at once
    }
    slot->sem = sem;
    ++slot->posts;
    if (++state.total >= state.size) {
        Release();
    }
    return true;
}

void WakeBatch::Release()
{
    ThreadState& state = tState;
    for (Held& held : state.held) {
        if (held.posts > 0 &&
            WorkerTracker::Instance().AddCredits(held.sem, static_cast<int64_t>(held.posts))) {
            held.posts = 1;  // the rest are credits; one post wakes the worker
        }
        for (; held.posts > 0; --held.posts) {
            sem_post(held.sem);
        }
        held.sem = nullptr;
    }
    state.total = 0;
}

WakeBatch::Delivery::Delivery()
{
    ++tState.deliveries;
}

WakeBatch::Delivery::~Delivery()
{
    --tState.deliveries;
}

}  // namespace Tarvo::Host
