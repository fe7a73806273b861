// The simulated platform log: a level filter and one sink (stderr by default).
#pragma once

#include <atomic>
#include <cstdarg>
#include <functional>
#include <mutex>

#include "host_platform.h"

namespace Tarvo::Host {

class HostLog {
public:
    static constexpr int kOff = 8;

    static HostLog& Instance();

    bool IsLoggable(int level) const { return level >= level_.load(std::memory_order_relaxed); }
    void Print(int level, unsigned int domain, const char* tag, const char* fmt, va_list args);
    void SetLevel(int level) { level_.store(level, std::memory_order_relaxed); }
    void SetSink(std::function<void(const LogLine&)> sink);

private:
    HostLog() = default;

    std::atomic<int> level_{kOff};
    std::mutex mutex_;
    std::function<void(const LogLine&)> sink_;
};

}  // namespace Tarvo::Host
