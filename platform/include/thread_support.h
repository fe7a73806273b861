// Threads, unnamed counting semaphores and thread naming.
//
// On a device these forward straight to the C library. The host platform forwards too,
// and also watches the library's worker threads wait and wake, which is how a replay
// host knows that every queued sample and touch event has been handled.
#pragma once

#include <semaphore.h>

#include <string>

namespace Tarvo {

// Names the calling thread; false when the platform refuses.
bool SetThreadName(const std::string& name);

int SemInit(sem_t* sem, int pshared, unsigned int value);
int SemWait(sem_t* sem);
int SemPost(sem_t* sem);
int SemDestroy(sem_t* sem);

}  // namespace Tarvo
