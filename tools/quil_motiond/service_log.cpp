#include "service_log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace Tarvo::Motiond {
namespace {

std::atomic<int> gLevel{ServiceLog::INFO};

}  // namespace

void ServiceLog::SetLevel(int level)
{
    gLevel.store(level);
}

bool ServiceLog::Enabled(int level)
{
    return level >= gLevel.load(std::memory_order_relaxed);
}

void ServiceLog::Print(int level, const char* format, ...)
{
    if (!Enabled(level)) {
        return;
    }
    char line[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof(line), format, args);
    va_end(args);
    // One write per line, so lines from several threads never mix.
    std::fprintf(stderr, "quil-motiond: %s\n", line);
}

}  // namespace Tarvo::Motiond
