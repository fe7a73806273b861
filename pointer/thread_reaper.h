// Joins threads that could not be joined where their owner went away: a pointer worker
// whose connection was destroyed from inside that worker's own report. Such a thread
// still runs the library's code for a moment after it is let go (it returns from the
// report and drops what it holds), so the library must not be unloaded under it: it is
// joined by the next thread that hands one over, and at the latest when the library is
// unloaded, before its code is unmapped.
#pragma once

#include <thread>

namespace Tarvo::Quil {

class ThreadReaper {
public:
    // Takes `thread`, which may be the calling one, and joins those taken before it.
    static void Adopt(std::thread thread);
    // Joins every thread taken but the caller; the caller, if taken, is detached.
    static void JoinAll();
};

}  // namespace Tarvo::Quil
