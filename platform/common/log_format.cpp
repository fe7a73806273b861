#include "log_format.h"

#include <cstdio>
#include <vector>

namespace Tarvo::PlatformLog {
namespace {

std::string StripPrivacyFlags(const char* fmt)
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

}  // namespace

std::string RenderMessage(const char* fmt, va_list args)
{
    const std::string format = StripPrivacyFlags(fmt);
    va_list sizing;
    va_copy(sizing, args);
    const int length = std::vsnprintf(nullptr, 0, format.c_str(), sizing);
    va_end(sizing);
    std::vector<char> buffer(length > 0 ? static_cast<size_t>(length) + 1 : 1, '\0');
    if (length > 0) {
        std::vsnprintf(buffer.data(), buffer.size(), format.c_str(), args);
    }
    return buffer.data();
}

std::string FormatLine(int level, unsigned int domain, const std::string& tag,
                       const std::string& message)
{
    static constexpr char kLetters[] = {'D', 'I', 'W', 'E', 'F'};
    const char letter = level >= 3 && level <= 7 ? kLetters[level - 3] : '?';
    char prefix[32];
    std::snprintf(prefix, sizeof(prefix), "%c %X/", letter, domain);
    return prefix + tag + ": " + message;
}

}  // namespace Tarvo::PlatformLog
