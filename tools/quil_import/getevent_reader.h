// Reads getevent dumps: "-lt" (names) and "-t" (hex numbers), with or
// without a device path on each line, and the "-lp" description block that may come
// first ("add device N: PATH", then the ABS axes with their ranges).
#pragma once

#include <string>

#include "line_reader.h"

#include "raw_event.h"

namespace Tarvo::Import {

class GeteventReader {
public:
    // Calls `onAxis` for every ABS axis of a description block (with that block's device)
    // and `onEvent` for every event. Events whose type or code name is unknown are
    // skipped. False with "NAME:LINE: problem" in `error` on a line it cannot read.
    static bool Read(Tools::LineReader& lines, const AxisSink& onAxis, const EventSink& onEvent,
                     std::string& error);
    // True when the first lines look like getevent output.
    static bool Looks(const std::string& firstLines);
};

}  // namespace Tarvo::Import
