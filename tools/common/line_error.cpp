#include "line_error.h"

#include <cstdio>

namespace Tarvo::Tools {

std::string LineError(const std::string& file, int line, const std::string& problem)
{
    std::string out = file + ":" + std::to_string(line) + ": ";
    for (const char c : problem) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            char escaped[5];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x", byte);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out;
}

std::string Shorten(std::string_view text)
{
    if (text.size() <= kQuotedBytes) {
        return std::string(text);
    }
    return std::string(text.substr(0, kQuotedBytes)) + "...";
}

std::string Quote(std::string_view text)
{
    return "'" + Shorten(text) + "'";
}

}  // namespace Tarvo::Tools
