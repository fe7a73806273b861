#include "host_log.h"

#include <cstdio>
#include <vector>

namespace Tarvo::Host {

HostLog& HostLog::Instance()
{
    // Never destroyed: the library logs from static destructors at process exit.
    static HostLog* instance = new HostLog;
    return *instance;
}

std::string HostLog::StripPrivacyFlags(const char* fmt)
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

void HostLog::Print(int level, unsigned int domain, const char* tag, const char* fmt, va_list args)
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
    LogLine line{level, domain, tag != nullptr ? tag : "", buffer.data()};

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
