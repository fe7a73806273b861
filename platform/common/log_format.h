// How a platform layer renders the library's log lines: the format with its privacy
// flags removed, and the one-line form every layer prints.
#pragma once

#include <cstdarg>
#include <string>

namespace Tarvo::PlatformLog {

// `fmt` rendered with `args`, its privacy flags ("{public}" after a '%') removed first.
std::string RenderMessage(const char* fmt, va_list args);

// "<L> D002210/<tag>: <message>" with L one of D I W E F (3 debug .. 7 fatal, else '?').
std::string FormatLine(int level, unsigned int domain, const std::string& tag,
                       const std::string& message);

}  // namespace Tarvo::PlatformLog
