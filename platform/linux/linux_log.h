// The platform log on Linux: a level filter, then standard error or syslog.
#pragma once

#include <algorithm>
#include <cstdarg>
#include <functional>
#include <mutex>
#include <string>

#include "linux_platform.h"
#include "service_seam.h"

namespace Tarvo::Linux {

class LinuxLog : public Platform::LogService {
public:
    // The layer's own lines about the device pass at this level whatever the filter
    // says: a missing or vanished sensor must never go unreported.
    static constexpr int kDeviceLevel = 5;
    static constexpr unsigned int kPlatformDomain = 0xD002211;

    static LinuxLog& Instance();

    void Print(int level, unsigned int domain, const char* tag, const char* fmt,
               va_list args) override;
    // The layer's own lines (device problems), tagged "LinuxPlatform".
    void Write(int level, const std::string& message);
    bool IsDeviceLineLoggable(int level) const { return level >= std::min(Level(), kDeviceLevel); }
    void SetDestination(LogDestination destination);
    void SetSink(std::function<void(int, const std::string&)> sink);

private:
    LinuxLog() = default;
    void Emit(int level, unsigned int domain, const std::string& tag, const std::string& message);

    std::mutex mutex_;
    LogDestination destination_ = LogDestination::STDERR;
    bool syslogOpen_ = false;
    std::function<void(int, const std::string&)> sink_;
};

}  // namespace Tarvo::Linux
