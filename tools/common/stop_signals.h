// SIGINT and SIGTERM as a program's request to stop, answered from the program's
// first instruction on: before the program has anything to undo, a signal ends it at
// once; after Arm(), the first one asks for an orderly stop (Wait returns) and a
// second one ends the program without waiting for it.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace Tarvo::Tools {

class StopSignals {
public:
    // Blocks SIGINT and SIGTERM in the calling thread, and so in every thread started
    // after it, and starts the thread that takes them. Call it first thing in main.
    static StopSignals& Install();

    // From now on a signal asks for an orderly stop.
    void Arm();
    // Until a stop is asked for, or `seconds` have passed (0: no limit). True when asked.
    bool Wait(double seconds);
    bool Requested() const { return requested_.load(); }
    // Readable once a stop has been asked for, for a program that waits in poll().
    int Fd() const { return fd_; }

private:
    StopSignals() = default;
    void Watch();

    std::mutex mutex_;
    std::condition_variable asked_;
    std::atomic<bool> armed_{false};
    std::atomic<bool> requested_{false};
    int fd_ = -1;  // an eventfd, never closed
};

}  // namespace Tarvo::Tools
