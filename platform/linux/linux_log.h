// The platform log on Linux: a level filter, then standard error or syslog.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <functional>
#include <mutex>
#include <string>

#include "linux_platform.h"

namespace Tarvo::Linux {

class LinuxLog {
public:
    static constexpr int kOff = 8;
    // The layer's own lines about the device pass at this level whatever the filter
    // says: a missing or vanished sensor must never go unreported.
    static constexpr int kDeviceLevel = 5;
    static constexpr unsigned int kPlatformDomain = 0xD002211;

    static LinuxLog& Instance();

    bool IsLoggable(int level) const { return level >= level_.load(std::memory_order_relaxed); }
    void Print(int level, unsigned int domain, const char* tag, const char* fmt, va_list args);
    // The layer's own lines (device problems), tagged "LinuxPlatform".
    void Write(int level, const std::string& message);
    bool IsDeviceLineLoggable(int level) const
    {
        return level >= std::min(level_.load(std::memory_order_relaxed), kDeviceLevel);
    }
    void SetLevel(int level) { level_.store(level, std::memory_order_relaxed); }
    void SetDestination(LogDestination destination);
    void SetSink(std::function<void(int, const std::string&)> sink);

private:
    LinuxLog() = default;
    void Emit(int level, unsigned int domain, const std::string& tag, const std::string& message);

    std::atomic<int> level_{kOff};
    std::mutex mutex_;
    LogDestination destination_ = LogDestination::STDERR;
    bool syslogOpen_ = false;
    std::function<void(int, const std::string&)> sink_;
};

}  // namespace Tarvo::Linux
