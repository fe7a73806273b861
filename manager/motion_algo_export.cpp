// The plug-in's entry points, the only symbols it exports.
#include <new>

#include "motion_algo_manager.h"
#include "motion_log.h"

namespace {
constexpr char kLogTag[] = "MotionAlgoManager";
}  // namespace

extern "C" {

__attribute__((visibility("default"))) Tarvo::Quil::IMotionAlgo* Create()
{
    MLOGD("enter");
    return new (std::nothrow) Tarvo::Quil::MotionAlgoManager();
}

__attribute__((visibility("default"))) void Destroy(Tarvo::Quil::IMotionAlgo* algo)
{
    MLOGD("enter");
    delete algo;
}

}  // extern "C"
