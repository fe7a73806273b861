// The plug-in's service interface, as the host sees it.
//
// The host obtains the one implementation from the exported Create() and releases it
// with Destroy(). Operations return 0 on success and -1 on failure. The slot order of
// both classes is part of the binary contract with the host: do not reorder.
//
// Threading and lifetime contract
//
// - One object at a time. Create() returns null (and logs an error) while an object it
//   made earlier has not been passed to Destroy(); the sensor channel and the gesture
//   report are process-wide, so two objects could not work independently.
// - Host calls. Create, Destroy and every IMotionAlgo operation may be called from any
//   thread, but one at a time: the object takes no lock of its own. A call made from
//   inside OnMotionChanged counts as one of them, so a host that calls back in must not
//   call from another thread at the same moment.
// - Reports. OnMotionChanged runs on one of the library's two workers, never on the
//   calling thread: device motions on "os_mot_sen_con", gestures on "os_mot_poi_con".
//   Each worker makes one call at a time; the two may overlap, so the callback must be
//   thread-safe. It should return promptly: samples and touches queue up behind it.
// - Calling back in. Every operation, and Destroy, may be called from inside
//   OnMotionChanged on either worker, with the same results as from the host's thread.
//   The report in progress finishes; nothing waits for it.
// - Reports in flight. Disable of a device motion, and Destroy, called from any other
//   thread wait until a report in progress has returned; once they return, the
//   disabled recogniser (or, after Destroy, the whole object) is never called again.
//   Do not hold a lock that the callback takes while making these calls.
// - Callback lifetime. The library keeps shared_ptr copies of the callback; a new one
//   (UnregisterCallback, RegisterCallback, then Enable) takes over from the next report,
//   and a callback object is never released while a call into it runs.
// - Destroy leaves the platform as it found it: every sensor subscription made through
//   the object deactivated and unsubscribed, the pointer monitor removed and the pointer
//   worker stopped, before it returns, whether or not the types were disabled first.
//   Samples and touches still queued then are discarded. Afterwards the library may be
//   unloaded (dlclose); the sensor worker ends with the library.
// - Process exit with types enabled is safe: deliveries that arrive while the library
//   shuts down are dropped.
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
