#include "wake_batch.h"

#include <array>

#include "worker_tracker.h"

namespace Tarvo::Host {
namespace {

// The library has two semaphores; a few more slots cost nothing.
constexpr size_t kSems = 4;

struct Held {
    WorkerTracker::Ticket ticket;
    size_t posts = 0;
};

struct ThreadState {
    size_t size = 0;  // 0: posts are not held
    int deliveries = 0;
    size_t total = 0;
    std::array<Held, kSems> held{};

    void ReleaseAll()
    {
        for (Held& entry : held) {
            if (entry.posts > 0) {
                WorkerTracker::Instance().ReleaseHeld(entry.ticket,
                                                      static_cast<int64_t>(entry.posts));
                entry.posts = 0;
            }
        }
        total = 0;
    }
    // A thread that ends with posts held lets them go: their work is outstanding.
    ~ThreadState() { ReleaseAll(); }
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
    WorkerTracker::Ticket ticket;
    if (state.size == 0 || state.deliveries == 0 ||
        !WorkerTracker::Instance().TicketFor(sem, ticket)) {
        return false;
    }
    Held* slot = nullptr;
    for (Held& held : state.held) {
        const bool same = held.posts > 0 && held.ticket.slot == ticket.slot &&
                          held.ticket.generation == ticket.generation;
        if (same || (slot == nullptr && held.posts == 0)) {
            slot = &held;
            if (same) {
                break;
            }
        }
    }
    if (slot == nullptr) {
        return false;  // more semaphores than slots: this one is posted at once
    }
    slot->ticket = ticket;
    ++slot->posts;
    if (++state.total >= state.size) {
        Release();
    }
    return true;
}

void WakeBatch::Release()
{
    tState.ReleaseAll();
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
