#include "linux_log.h"

#include <syslog.h>

#include <cstdio>
#include <vector>

namespace Tarvo::Linux {

LinuxLog& LinuxLog::Instance()
{
    // Never destroyed: the library logs from static destructors at process exit.
    static LinuxLog* instance = new LinuxLog;
    return *instance;
}

std::string LinuxLog::StripPrivacyFlags(const char* fmt)
{
    std::string out;
    for (const char* p = fmt; *p != '\0'; ++p) {
        out.push_back(*p);
        if (*p == '%' && p[1] == '{') {
            const char* close = p + 2;
            while (*close != '\0' && *close != '}') {
                ++close;
            }
            if (*close == '}') {
                p = close;
            }
        }
    }
    return out;
}

std::string LinuxLog::FormatLine(int level, unsigned int domain, const std::string& tag,
                                 const std::string& message)
{
    static constexpr char kLetters[] = {'D', 'I', 'W', 'E', 'F'};
    const char letter = level >= 3 && level <= 7 ? kLetters[level - 3] : '?';
    char prefix[32];
    std::snprintf(prefix, sizeof(prefix), "%c %X/", letter, domain);
    return prefix + tag + ": " + message;
}

void LinuxLog::Print(int level, unsigned int domain, const char* tag, const char* fmt, va_list args)
{
    if (!IsLoggable(level) || fmt == nullptr) {
        return;
    }
    const std::string format = StripPrivacyFlags(fmt);
    va_list sizing;
    va_copy(sizing, args);
    const int length = std::vsnprintf(nullptr, 0, format.c_str(), sizing);
    va_end(sizing);
    std::vector<char> buffer(length > 0 ? static_cast<size_t>(length) + 1 : 1, '\0');
    if (length > 0) {
        std::vsnprintf(buffer.data(), buffer.size(), format.c_str(), args);
    }
    Emit(level, domain, tag != nullptr ? tag : "", buffer.data());
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
    const std::string line = FormatLine(level, domain, tag, message);
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
