#include "stop_signals.h"

#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace Tarvo::Tools {
namespace {

sigset_t StopSet()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

// Ends the process as the signal itself would, so a shell sees what stopped it.
[[noreturn]] void DieOf(int signal)
{
    ::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    raise(signal);
    _exit(128 + signal);
}

}  // namespace

StopSignals& StopSignals::Install()
{
    // Never destroyed: its thread waits in it until the process ends.
    static StopSignals* instance = [] {
        const sigset_t set = StopSet();
        pthread_sigmask(SIG_BLOCK, &set, nullptr);
        auto* made = new StopSignals;
        made->fd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        std::thread([made] { made->Watch(); }).detach();
        return made;
    }();
    return *instance;
}

void StopSignals::Watch()
{
    // Named, so that a program's threads can be told apart (top -H, /proc).
    pthread_setname_np(pthread_self(), "stop-signals");
    const sigset_t set = StopSet();
    for (;;) {
        int signal = 0;
        if (sigwait(&set, &signal) != 0) {
            continue;
        }
        if (!armed_.load() || requested_.load()) {
            DieOf(signal);
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            requested_.store(true);
        }
        asked_.notify_all();
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(fd_, &one, sizeof(one));
    }
}

void StopSignals::Arm()
{
    armed_.store(true);
}

bool StopSignals::Wait(double seconds)
{
    std::unique_lock<std::mutex> lock(mutex_);
    const auto asked = [this] { return requested_.load(); };
    if (seconds <= 0) {
        asked_.wait(lock, asked);
        return true;
    }
    return asked_.wait_for(lock, std::chrono::duration<double>(seconds), asked);
}

}  // namespace Tarvo::Tools
