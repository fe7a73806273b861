// One delivery at a time from a service to its clients, and the wait that lets a client
// go only once no delivery can still be inside it. Not locked itself: the service calls
// it with its own lock held and hands that lock to the waits.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace Tarvo::Platform {

class DeliveryGate {
public:
    // On the delivering thread, before the clients are called without the lock.
    void Begin()
    {
        busy_ = true;
        thread_ = std::this_thread::get_id();
    }
    // After the last client returned (and every copy of a client's callback is gone).
    void End()
    {
        busy_ = false;
        thread_ = std::thread::id();
        done_.notify_all();
    }
    bool Busy() const { return busy_; }
    // Whether this very thread is delivering: it must not wait for the gate.
    bool HeldHere() const { return busy_ && thread_ == std::this_thread::get_id(); }

    // Waits out a delivery under way, unless this very thread makes it: a client that
    // leaves from inside its own call cannot wait for itself.
    void WaitOut(std::unique_lock<std::mutex>& lock)
    {
        if (busy_ && std::this_thread::get_id() != thread_) {
            done_.wait(lock, [this] { return !busy_; });
        }
    }
    // Waits until no delivery is under way and `ready` holds.
    template <typename Ready>
    void WaitIdle(std::unique_lock<std::mutex>& lock, Ready ready)
    {
        done_.wait(lock, [this, &ready] { return !busy_ && ready(); });
    }

private:
    bool busy_ = false;
    std::thread::id thread_;
    std::condition_variable done_;
};

}  // namespace Tarvo::Platform
