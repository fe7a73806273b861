// Reads getevent dumps: "-lt" (names) and "-t" (hex numbers), with or
// without a device path on each line, and the "-lp" description block that may come
// first ("add device N: PATH", then the ABS axes with their ranges).
#pragma once

#include <string>
#include <vector>

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

private:
    GeteventReader(const std::string& name, const AxisSink& onAxis, const EventSink& onEvent,
                   std::string& error);
    bool TakeLine(const std::string& line);
    // A line of an "add device" block (getevent -lp): its ABS axes.
    void TakeDescription(const std::string& line);
    bool TakeEvent(const std::string& line);
    bool Fail(const std::string& problem);

    const std::string& name_;
    const AxisSink& onAxis_;
    const EventSink& onEvent_;
    std::string& error_;
    int number_ = 0;
    std::string blockDevice_;  // of the "add device" block being read
    bool inAbs_ = false;
};

}  // namespace Tarvo::Import
