// The library's one logging helper.
//
// Every line goes to the platform log as a core-type line of the motion domain, tagged
// with the emitting class's name, and starts "in <operation>, ". The level is tested
// before any argument is evaluated or formatted, so a disabled debug line on the
// sample path costs one call and a compare.
//
// A source file defines `constexpr char kLogTag[] = "ClassName";` and uses MLOGD/I/W/E,
// which name the enclosing function (__func__) as the operation. QUIL_LOG takes the tag
// and operation explicitly, for shared code that logs on behalf of its caller.
#pragma once

#include "platform_log.h"

namespace Tarvo::Quil {
constexpr unsigned int kMotionLogDomain = 0xD002210;
}  // namespace Tarvo::Quil

#define QUIL_LOG(level, tag, op, fmt, ...)                                                   \
    do {                                                                                     \
        if (PlatformLogIsLoggable(::Tarvo::Quil::kMotionLogDomain, (tag), (level))) {        \
            PlatformLogPrint(LOG_TYPE_CORE, (level), ::Tarvo::Quil::kMotionLogDomain, (tag), \
                             "in %{public}s, " fmt, (op), ##__VA_ARGS__);                    \
        }                                                                                    \
    } while (0)

#define MLOGD(fmt, ...) QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, __func__, fmt, ##__VA_ARGS__)
#define MLOGI(fmt, ...) QUIL_LOG(LOG_LEVEL_INFO, kLogTag, __func__, fmt, ##__VA_ARGS__)
#define MLOGW(fmt, ...) QUIL_LOG(LOG_LEVEL_WARN, kLogTag, __func__, fmt, ##__VA_ARGS__)
#define MLOGE(fmt, ...) QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, __func__, fmt, ##__VA_ARGS__)
