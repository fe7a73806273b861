#include "linux_log.h"

#include <syslog.h>

#include <cstdio>

#include "log_format.h"

namespace Tarvo::Linux {

LinuxLog& LinuxLog::Instance()
{
    // Never destroyed: the library logs from static destructors at process exit.
    static LinuxLog* instance = new LinuxLog;
    return *instance;
}

void LinuxLog::Print(int level, unsigned int domain, const char* tag, const char* fmt, va_list args)
{
    if (!IsLoggable(level) || fmt == nullptr) {
        return;
    }
    Emit(level, domain, tag != nullptr ? tag : "", PlatformLog::RenderMessage(fmt, args));
}

void LinuxLog::Write(int level, const std::string& message)
{
    if (IsDeviceLineLoggable(level)) {
        Emit(level, kPlatformDomain, "LinuxPlatform", message);
    }
}

void LinuxLog::Emit(int level, unsigned int domain, const std::string& tag,
                    const std::string& message)
{
    const std::string line = PlatformLog::FormatLine(level, domain, tag, message);
    std::lock_guard<std::mutex> lock(mutex_);
    if (sink_) {
        sink_(level, line);
    } else if (destination_ == LogDestination::SYSLOG) {
        static constexpr int kPriorities[] = {LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERR, LOG_CRIT};
        const int priority = level >= 3 && level <= 7 ? kPriorities[level - 3] : LOG_NOTICE;
        if (!syslogOpen_) {
            openlog("quil-motion", LOG_PID, LOG_USER);
            syslogOpen_ = true;
        }
        // The letter is redundant with the priority; the rest keeps lines greppable alike.
        syslog(priority, "%s", line.c_str() + 2);
    } else {
        std::fprintf(stderr, "%s\n", line.c_str());
    }
}

void LinuxLog::SetDestination(LogDestination destination)
{
    std::lock_guard<std::mutex> lock(mutex_);
    destination_ = destination;
}

void LinuxLog::SetSink(std::function<void(int, const std::string&)> sink)
{
    std::lock_guard<std::mutex> lock(mutex_);
    sink_ = std::move(sink);
}

}  // namespace Tarvo::Linux
