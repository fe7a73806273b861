// The report record handed to the host for every recognised motion or gesture.
#pragma once

#include <cstdint>
#include <string>

/// \file
/// MotionData, the report record.

namespace Tarvo::Quil {

/// \struct MotionData motion_data.h <quil_motion/motion_data.h>
/// One report: what the library hands to IMotionAlgo::Callback::OnMotionChanged()
/// for every recognised motion or touch gesture. A plain value; fields the producing
/// recognition does not use are -1 (`move` 0.0).
///
/// \par Device motions (types 0, 2, 3, 6, 7)
/// Only `type` and `result` carry information; `status`, `action`, `direction` and
/// `rotateAction` are -1 and `move` is 0.0. A report is delivered only when its
/// `result` differs from the last one the host accepted for that type.
///
/// | type | `result` 1 | `result` 0 |
/// |---|---|---|
/// | 0 pick-up | lifted from rest and tilted towards the user | that posture left |
/// | 2 near-ear | raised upright with the proximity sensor covered | the sensor uncovered |
/// | 3 flip | from rest, turned over its long edge and laid flat | the flat end pose left |
/// | 6 shake | the latest sample is a shake (far beyond gravity) | it is not |
/// | 7 pocket | in a pocket or bag: covered, dark, lying on a face | out of it |
///
/// \par Rotation (type 4)
/// `result` is always 1 and `rotateAction` holds the display orientation derived from
/// gravity: 0 upright, 1 turned with the right edge up, 2 upside down, 3 turned with
/// the left edge up. A report is delivered when the orientation changes; a device
/// lying flat reports nothing, so the last orientation stands. The other fields are
/// -1, `move` 0.0.
///
/// \par Touch gestures (types 9 to 13)
/// A gesture is reported when it is recognised (`result` 1, `status` 1) and when it
/// ends (`result` 2, `status` 3): a finger lifts or touches down, or, for a pinch,
/// the fingers turn too far. Progress is recorded in between (`status` 2) but not
/// delivered, except the first change during a pinch, which still carries `status` 1.
/// | type | `direction` | `action` | `move` |
/// |---|---|---|---|
/// | 9 swipe in from the right edge | 1 (leftward) | -1 | distance travelled in pixels: 100 or more
/// at the start, the largest distance recorded at the end | | 10 swipe in from the left edge | 3
/// (rightward) | -1 | as for 9 | | 11 swipe up from the bottom edge | 0 (upward) | -1 | as for 9 |
/// | 12 two-finger pinch | -1 | 1 fingers closing, 0 opening (decided at the start and kept) |
/// scale: distance between the fingers over their distance when the second finger came down | | 13
/// three-finger slide | 0 up, 1 left, 2 down, 3 right | -1 | 0.0 at the start; at the end the
/// average distance the fingers travelled, in pixels | `rotateAction` is -1 for every gesture.
struct MotionData {
    /// The motion type id (MotionType) of the recognition that made the report.
    int32_t type = -1;
    /// The outcome: per device motion as in the table above; for gestures 1 while a
    /// gesture is recognised or in progress and 2 when it has finished.
    int32_t result = -1;
    /// Gestures: 1 at the start, 3 at the end (2, in progress, is not delivered).
    /// Device motions: -1.
    int32_t status = -1;
    /// Pinch (type 12): 1 closing, 0 opening. Otherwise -1.
    int32_t action = -1;
    /// Gestures: the direction code of the type (table above). Otherwise -1.
    int32_t direction = -1;
    /// Rotation (type 4): the orientation code 0 to 3. Otherwise -1.
    int32_t rotateAction = -1;
    /// Gestures: pixels travelled (swipes, slides) or the scale (pinch). Otherwise 0.0.
    double move = 0.0;

    /// Formats the record for logs. Defined here so that a host needs nothing of the
    /// plug-in to print a report.
    /// \return the fields in order, e.g.
    ///   `type:3 result:1 status:-1 action:-1 direction:-1 rotateAction:-1 move:0.000000`.
    std::string Dump() const
    {
        return "type:" + std::to_string(type) + " result:" + std::to_string(result) +
               " status:" + std::to_string(status) + " action:" + std::to_string(action) +
               " direction:" + std::to_string(direction) +
               " rotateAction:" + std::to_string(rotateAction) + " move:" + std::to_string(move);
    }
};

}  // namespace Tarvo::Quil
