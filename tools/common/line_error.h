// "FILE:LINE: problem", the form every tool reports a bad input line in.
#pragma once

#include <string>
#include <string_view>

namespace Tarvo::Tools {

// Control characters in `problem` (quoted bytes of a binary file, say) are written as
// \xNN, so that a nul cannot cut the message short nor an escape garble the terminal.
std::string LineError(const std::string& file, int line, const std::string& problem);

// `text` for a message: at most its first kQuotedBytes, then "...", so that a huge
// token does not fill the terminal; Quote puts it in single quotes.
inline constexpr size_t kQuotedBytes = 40;
std::string Shorten(std::string_view text);
std::string Quote(std::string_view text);

}  // namespace Tarvo::Tools
