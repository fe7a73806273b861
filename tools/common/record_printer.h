// The records of a trace as quil-replay reads them, as JSON Lines: what a program that
// draws or checks a trace reads instead of parsing the format again.
#pragma once

#include <string>

#include <cstdio>

#include "trace_files.h"
#include "trace_record.h"

namespace Tarvo::Tools {

class RecordPrinter {
public:
    // {"file":F,"heading":H}: the comment lines a file starts with.
    static std::string Heading(const std::string& file, const std::string& heading);
    // {"file":F,"line":N,"t":MS,"record":"touch","action":2,...}; "t" only when stamped;
    // sample values that are not finite are written "nan", "inf" or "-inf".
    static std::string Record(const TraceRecord& record);
    // Every record of `traces` (checked), each file's heading before its first record;
    // false with `error` set when reading or writing fails.
    static bool PrintAll(TraceFiles& traces, std::FILE* out, std::string& error);
};

}  // namespace Tarvo::Tools
