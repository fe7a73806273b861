// The plug-in's service interface, as the host sees it.
//
// The host obtains the one implementation from the exported Create() and releases it
// with Destroy(). Operations return 0 on success and -1 on failure. The slot order of
// both classes is part of the binary contract with the host: do not reorder.
#pragma once

#include <memory>

#include "motion_data.h"

namespace Tarvo::Quil {

class IMotionAlgo {
public:
    // Implemented by the host. OnMotionChanged is called on the library's worker
    // threads, never on the host's calling thread; it must be thread-safe. Return 0
    // when the report was accepted.
    class Callback {
    public:
        virtual ~Callback() = default;
        virtual int OnMotionChanged(const MotionData& data) = 0;
    };

    virtual ~IMotionAlgo() = default;
    virtual int RegisterCallback(std::shared_ptr<Callback> callback) = 0;
    virtual int UnregisterCallback() = 0;
    virtual int Enable(int type) = 0;
    virtual int Disable(int type) = 0;
    virtual int DisableCount(int type) = 0;
    virtual bool IsSupportType(int type) = 0;
    // True when no motion type is active.
    virtual bool CheckActiveAlgo() = 0;
};

}  // namespace Tarvo::Quil

extern "C" {
// The plug-in's entry points; null when memory is exhausted.
Tarvo::Quil::IMotionAlgo* Create();
void Destroy(Tarvo::Quil::IMotionAlgo* algo);
}
