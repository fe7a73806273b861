// The exit status of every program: a complete run, a failure, a usage or input error.
#pragma once

namespace Tarvo::Tools {

inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // the plug-in cannot be loaded, a write fails, ...
inline constexpr int kExitUsage = 2;    // a bad option, or an input that cannot be read

}  // namespace Tarvo::Tools
