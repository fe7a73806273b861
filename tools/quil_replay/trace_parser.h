// Turns trace text into records. The whole input is checked before anything runs; the
// first problem is reported as "FILE:LINE: what is wrong".
#pragma once

#include <string>
#include <vector>

#include "trace_record.h"

namespace Tarvo::Replay {

class TraceParser {
public:
    // Parses `text` (named `name` in messages) and appends its records. On error
    // returns false with `error` set; `records` then holds what came before.
    static bool ParseText(const std::string& name, const std::string& text,
                          std::vector<TraceRecord>& records, std::string& error);
    // Reads `path` ("-" for standard input) and parses it.
    static bool ParseFile(const std::string& path, std::vector<TraceRecord>& records,
                          std::string& error);
};

}  // namespace Tarvo::Replay
