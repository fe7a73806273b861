// What a trace may hold, for the programs that write traces and the one that plays them.
#pragma once

namespace Tarvo::Tools {

// Time stamps run from 0 to this many milliseconds: larger ones could not be turned
// into nanoseconds or a pacing delay.
inline constexpr double kMaxStampMs = 1e12;

}  // namespace Tarvo::Tools
