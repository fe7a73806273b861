// Holds back the library's semaphore posts made inside inline deliveries on one thread
// and lets them go a batch at a time. A replay delivers events back to back; a worker
// that keeps up with it would otherwise fall asleep after every event and cost the
// replay a wake-up each time. Per thread: a service's own threads never hold posts.
#pragma once

#include <semaphore.h>

#include <cstddef>

namespace Tarvo::Host {

class WakeBatch {
public:
    // Lets go of what this thread holds; from now on its posts are let go `posts` at a
    // time (0: posted at once).
    static void SetSize(size_t posts);
    // Called for every post: true if it was held back (this thread has a batch size and
    // is inside a delivery), false if the caller must post now.
    static bool Hold(sem_t* sem);
    // Posts everything held on this thread.
    static void Release();

    // Marks an inline delivery on this thread for as long as it lives.
    class Delivery {
    public:
        Delivery();
        ~Delivery();
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;
    };
};

}  // namespace Tarvo::Host
