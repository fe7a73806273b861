// Reads evemu recordings: a device description (N:, I:, P:, B:, A: lines, or the
// comment block evemu writes before the events) and event lines
// "E: SEC.USEC TYPE CODE VALUE" with type and code in hex.
#pragma once

#include <string>

#include "line_reader.h"

#include "raw_event.h"

namespace Tarvo::Import {

class EvemuReader {
public:
    // Calls `onAxis` for every axis the file describes and `onEvent` for every event.
    // False with "NAME:LINE: problem" in `error` on a line it cannot read.
    static bool Read(Tools::LineReader& lines, const AxisSink& onAxis, const EventSink& onEvent,
                     std::string& error);
    // True when the first lines look like evemu output.
    static bool Looks(const std::string& firstLines);
};

}  // namespace Tarvo::Import
