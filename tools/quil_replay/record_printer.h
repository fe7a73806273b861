// The records of a trace as quil-replay reads them, as JSON Lines: what a program that
// draws or checks a trace reads instead of parsing the format again.
#pragma once

#include <string>

#include "trace_record.h"

namespace Tarvo::Replay {

class RecordPrinter {
public:
    // {"file":F,"heading":H}: the comment lines a file starts with.
    static std::string Heading(const std::string& file, const std::string& heading);
    // {"file":F,"line":N,"t":MS,"record":"touch","action":2,...}; "t" only when stamped;
    // sample values that are not finite are written "nan", "inf" or "-inf".
    static std::string Record(const TraceRecord& record);
};

}  // namespace Tarvo::Replay
