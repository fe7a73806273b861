// "FILE:LINE: problem", the form every tool reports a bad input line in.
#pragma once

#include <string>

namespace Tarvo::Tools {

// Control characters in `problem` (quoted bytes of a binary file, say) are written as
// \xNN, so that a nul cannot cut the message short nor an escape garble the terminal.
std::string LineError(const std::string& file, int line, const std::string& problem);

}  // namespace Tarvo::Tools
