#include "thread_reaper.h"

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace Tarvo::Quil {
namespace {

struct Reaped {
    std::mutex mutex;
    std::vector<std::thread> threads;

    Reaped();
    // Runs when the library is unloaded or the process exits.
    ~Reaped();
};

// Constant-initialised and never destroyed: a thread handed over during the last
// moments of process exit, after `g_reaped` is gone, is detached instead.
std::atomic<bool> g_reaperAlive{false};
Reaped g_reaped;

// Moves out every thread but the calling one; the caller joins them unlocked.
std::vector<std::thread> TakeOthersLocked()
{
    std::vector<std::thread> others;
    std::vector<std::thread> kept;
    for (std::thread& thread : g_reaped.threads) {
        (thread.get_id() == std::this_thread::get_id() ? kept : others)
            .push_back(std::move(thread));
    }
    g_reaped.threads = std::move(kept);
    return others;
}

void JoinEach(std::vector<std::thread>& threads)
{
    for (std::thread& thread : threads) {
        thread.join();
    }
}

Reaped::Reaped()
{
    g_reaperAlive = true;
}

Reaped::~Reaped()
{
    ThreadReaper::JoinAll();
    g_reaperAlive = false;
}

}  // namespace

void ThreadReaper::Adopt(std::thread thread)
{
    std::vector<std::thread> others;
    {
        std::lock_guard<std::mutex> lock(g_reaped.mutex);
        if (!g_reaperAlive) {
            thread.detach();
            return;
        }
        others = TakeOthersLocked();
        g_reaped.threads.push_back(std::move(thread));
    }
    JoinEach(others);
}

void ThreadReaper::JoinAll()
{
    std::vector<std::thread> others;
    {
        std::lock_guard<std::mutex> lock(g_reaped.mutex);
        others = TakeOthersLocked();
        for (std::thread& self : g_reaped.threads) {
            self.detach();  // exiting from inside its own report: it cannot join itself
        }
        g_reaped.threads.clear();
    }
    JoinEach(others);
}

}  // namespace Tarvo::Quil
