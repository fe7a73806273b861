// The platform log's print interface.
#pragma once

extern "C" {

enum PlatformLogType {
    LOG_TYPE_APP = 0,
    LOG_TYPE_CORE = 3,
};

enum PlatformLogLevel {
    LOG_LEVEL_DEBUG = 3,
    LOG_LEVEL_INFO = 4,
    LOG_LEVEL_WARN = 5,
    LOG_LEVEL_ERROR = 6,
    LOG_LEVEL_FATAL = 7,
};

// Prints one line. `fmt` is printf-like; a conversion may carry a privacy flag,
// "%{public}s" or "%{private}d", which the log strips before formatting.
int PlatformLogPrint(PlatformLogType type, PlatformLogLevel level, unsigned int domain,
                     const char* tag, const char* fmt, ...);

// Whether a line of `level` for `domain`/`tag` would be written at all. Cheap: callers
// test it before they build any argument.
bool PlatformLogIsLoggable(unsigned int domain, const char* tag, PlatformLogLevel level);

}  // extern "C"
