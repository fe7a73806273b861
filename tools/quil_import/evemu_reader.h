// Reads evemu recordings: a device description (N:, I:, P:, B:, A: lines, or the
// comment block evemu writes before the events) and event lines
// "E: SEC.USEC TYPE CODE VALUE" with type and code in hex.
#pragma once

#include <string>
#include <vector>

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

private:
    EvemuReader(const std::string& name, const AxisSink& onAxis, const EventSink& onEvent,
                std::string& error);
    bool TakeLine(const std::string& line);
    // The comment block evemu writes before the events describes the axes too.
    void TakeComment(const std::string& text);
    bool TakeAxis(const std::vector<std::string>& fields, const std::string& line);
    bool TakeEvent(const std::vector<std::string>& fields);
    bool Fail(const std::string& problem);

    const std::string& name_;
    const AxisSink& onAxis_;
    const EventSink& onEvent_;
    std::string& error_;
    int number_ = 0;
    long long commentType_ = -1;
    long long commentCode_ = -1;
    long long commentMin_ = 0;
    bool haveCommentMin_ = false;
};

}  // namespace Tarvo::Import
