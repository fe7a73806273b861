// The plug-in's service interface, as the host sees it.
//
// The slot order of both classes is part of the binary contract with the host: do not
// reorder.
#pragma once

#include <memory>

#include "motion_data.h"

/// \file
/// The plug-in's service interface, IMotionAlgo, and its entry points Create() and
/// Destroy().

/// Everything of the Quil Motion host interface.
namespace Tarvo::Quil {

/// \class IMotionAlgo i_motion_algo.h <quil_motion/i_motion_algo.h>
/// The plug-in's one service interface.
///
/// A host loads the plug-in with `dlopen`, looks up the C functions Create() and
/// Destroy(), obtains the one implementation from Create(), registers its Callback and
/// then switches recognitions on and off by motion type id (MotionType). Each
/// recognition reaches the callback as one MotionData report.
///
/// Operations that return `int` give 0 on success and -1 on failure; failures are
/// also written to the platform log. No operation throws.
///
/// \anchor threading
/// <h3>Threading and lifetime</h3>
///
/// - <b>One object at a time.</b> Create() returns null, and logs an error, while an
///   object it made earlier has not been passed to Destroy(): the sensor channel and
///   the gesture report are process-wide, so two objects could not work independently.
/// - <b>Calls.</b> Every operation may be called from any thread, at the same time as
///   others and from inside Callback::OnMotionChanged() on either worker; the object
///   serialises them, and a call from inside a report gives the same result as from
///   the host's own thread. Destroy() is the exception: it must not overlap another
///   call on the same object (after it starts, the object is gone), except that it may
///   itself be called from inside a report.
/// - <b>Reports.</b> OnMotionChanged() runs on one of the library's two workers, never
///   on a calling thread: device motions on "os_mot_sen_con", touch gestures on
///   "os_mot_poi_con". Each worker makes one call at a time; the two may overlap. It
///   should return promptly: samples and touches queue up behind it.
/// - <b>Reports in flight.</b> Disable() of a device motion, and Destroy(), called
///   outside a report, return only after a report in progress has returned; from then
///   on the disabled recogniser (or, after Destroy(), the whole object) is never called
///   again. Called from inside a report, they do not wait: that report finishes
///   after they return, and nothing more follows it. Do not hold a lock that the
///   callback takes while calling them.
/// - <b>Callback lifetime.</b> The library keeps shared copies of the callback. A new
///   one (UnregisterCallback(), RegisterCallback(), then Enable()) takes over from the
///   next report, and a callback object is never released while a call into it runs.
/// - <b>Destroy()</b> leaves the platform as it found it: every sensor subscription made
///   through the object deactivated and unsubscribed, the pointer monitor removed and
///   the pointer worker stopped, before it returns, whether or not the types were
///   disabled first. Samples and touches still queued then are discarded. Afterwards
///   the library may be unloaded (`dlclose`); the sensor worker ends with the library.
/// - <b>Process exit</b> with types enabled is safe: deliveries that arrive while the
///   library shuts down are dropped.
class IMotionAlgo {
public:
    /// \class Callback i_motion_algo.h <quil_motion/i_motion_algo.h>
    /// The host's receiver of reports. Implemented by the host and registered with
    /// RegisterCallback(); the library only ever holds shared copies of it.
    class Callback {
    public:
        virtual ~Callback() = default;

        /// Receives one report.
        ///
        /// Called on the library's worker threads, never on the host's calling
        /// thread: device motions arrive on the sensor worker, touch gestures on the
        /// pointer worker, so two calls may run at the same time and the
        /// implementation must be thread-safe.
        ///
        /// \param data the report; see MotionData for what each field carries per
        ///        motion type. Valid for the duration of the call only.
        /// \return 0 when the host accepted the report. Any other value is logged as
        ///         a failure; for a device motion the report then counts as not
        ///         delivered, so the same outcome is offered again on its next
        ///         recognition. For touch gestures the value is ignored.
        virtual int OnMotionChanged(const MotionData& data) = 0;
    };

    /// Releases the implementation; hosts call Destroy() rather than `delete`.
    virtual ~IMotionAlgo() = default;

    /// Registers the host's report receiver.
    ///
    /// The first registration wins: while a callback is registered, another one is
    /// ignored (and 0 still returned) until UnregisterCallback(). A recognition
    /// keeps the callback it was given when its type was enabled, so register before
    /// enabling.
    /// \param callback the receiver; the library keeps shared copies.
    /// \return always 0.
    virtual int RegisterCallback(std::shared_ptr<Callback> callback) = 0;

    /// Drops the registered callback.
    ///
    /// Types enabled afterwards report to no one until a new RegisterCallback(). Types
    /// already enabled keep the callback they were given.
    /// \return always 0.
    virtual int UnregisterCallback() = 0;

    /// Starts recognising one motion type.
    ///
    /// A device motion (types 0, 2, 3, 4, 6, 7) subscribes the sensors it needs,
    /// unless another enabled type already uses them. The touch gestures (types 9 to
    /// 13) share one pointer subscription, made by the first of them ever enabled.
    /// Enabling a type twice succeeds twice; each successful call counts once for
    /// CheckActiveAlgo().
    /// \param type a motion type id (MotionType).
    /// \return 0 on success; -1 for an unknown type id, a sensor the device does not
    ///         have or a sensor or input service that refuses the subscription.
    ///         After a failure, sensors subscribed before the failing one stay
    ///         subscribed.
    virtual int Enable(int type) = 0;

    /// Stops recognising one motion type.
    ///
    /// A device motion unsubscribes each of its sensors that no other enabled type
    /// still uses. Once any touch gesture has been enabled, the pointer subscription
    /// stays until Destroy().
    /// \param type a motion type id (MotionType).
    /// \return 0 on success, also for a device motion that was not enabled; -1 for an
    ///         unknown type id, a gesture type when no gesture was ever enabled, or a
    ///         sensor or input service that refuses to unsubscribe.
    virtual int Disable(int type) = 0;

    /// Reserved; does nothing.
    /// \param type a motion type id, not examined.
    /// \return always 0.
    virtual int DisableCount(int type) = 0;

    /// Tells whether the plug-in knows a motion type.
    /// \param type any integer.
    /// \return true for the ids of MotionType (0, 2, 3, 4, 6, 7, 9 to 13), false
    ///         otherwise.
    virtual bool IsSupportType(int type) = 0;

    /// Tells whether no motion type is enabled.
    /// \return true when no Enable() is outstanding, false otherwise. Disabling a
    ///         touch gesture leaves this false for the rest of the instance's life.
    virtual bool CheckActiveAlgo() = 0;
};

}  // namespace Tarvo::Quil

extern "C" {
/// Creates the plug-in's IMotionAlgo implementation.
///
/// Look it up with `dlsym(handle, "Create")`. Nothing is subscribed until Enable().
/// \return a new instance, owned by the host until it passes it to Destroy(); null
///         while another instance is live, or when memory is exhausted.
Tarvo::Quil::IMotionAlgo* Create();

/// Destroys an instance made by Create().
///
/// Look it up with `dlsym(handle, "Destroy")`.
/// Before it returns, every subscription and monitor the instance made is undone and
/// no report of it runs any more (see \ref threading "Threading and lifetime").
/// \param algo the instance, or null (then nothing happens).
void Destroy(Tarvo::Quil::IMotionAlgo* algo);
}
