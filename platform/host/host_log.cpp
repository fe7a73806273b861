#include "host_log.h"

#include <cstdio>

#include "log_format.h"

namespace Tarvo::Host {

HostLog& HostLog::Instance()
{
    // Never destroyed: the library logs from static destructors at process exit.
    static HostLog* instance = new HostLog;
    return *instance;
}

void HostLog::Print(int level, unsigned int domain, const char* tag, const char* fmt, va_list args)
{
    if (!IsLoggable(level) || fmt == nullptr) {
        return;
    }
    LogLine line{level, domain, tag != nullptr ? tag : "", PlatformLog::RenderMessage(fmt, args)};

    std::lock_guard<std::mutex> lock(mutex_);
    if (sink_) {
        sink_(line);
    } else {
        std::fprintf(stderr, "%s\n", FormatLogLine(line).c_str());
    }
}

void HostLog::SetSink(std::function<void(const LogLine&)> sink)
{
    std::lock_guard<std::mutex> lock(mutex_);
    sink_ = std::move(sink);
}

}  // namespace Tarvo::Host
