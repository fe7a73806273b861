// The plug-in's entry points, the only symbols it exports.
#include <mutex>
#include <new>

#include "motion_algo_manager.h"
#include "motion_log.h"

namespace {
constexpr char kLogTag[] = "MotionAlgoManager";

// One live object per process: the sensor connection, the gesture report and its
// callback are process-wide, so a second object would silence or duplicate the first.
std::mutex g_liveMutex;
Tarvo::Quil::IMotionAlgo* g_live = nullptr;
}  // namespace

extern "C" {

__attribute__((visibility("default"))) Tarvo::Quil::IMotionAlgo* Create()
{
    MLOGD("enter");
    std::lock_guard<std::mutex> lock(g_liveMutex);
    if (g_live != nullptr) {
        MLOGE("an algorithm object is already live; Destroy it first");
        return nullptr;
    }
    g_live = new (std::nothrow) Tarvo::Quil::MotionAlgoManager();
    return g_live;
}

__attribute__((visibility("default"))) void Destroy(Tarvo::Quil::IMotionAlgo* algo)
{
    MLOGD("enter");
    if (algo == nullptr) {
        return;
    }
    bool wasLive = false;
    {
        std::lock_guard<std::mutex> lock(g_liveMutex);
        wasLive = algo == g_live;
    }
    // Not under the lock: the destructor waits out reports in flight, and a report may
    // call Create.
    delete algo;
    if (wasLive) {
        std::lock_guard<std::mutex> lock(g_liveMutex);
        g_live = nullptr;
    }
}

}  // extern "C"
