// The simulated platform log: a level filter and one sink (stderr by default).
#pragma once

#include <cstdarg>
#include <functional>
#include <mutex>

#include "host_platform.h"
#include "service_seam.h"

namespace Tarvo::Host {

class HostLog : public Platform::LogService {
public:
    static HostLog& Instance();

    void Print(int level, unsigned int domain, const char* tag, const char* fmt,
               va_list args) override;
    void SetSink(std::function<void(const LogLine&)> sink);

private:
    HostLog() = default;

    std::mutex mutex_;
    std::function<void(const LogLine&)> sink_;
};

}  // namespace Tarvo::Host
