// Turns trace text into records, either all at once or one record at a time from an
// open file (a long trace is then never held in memory). The first problem is reported
// as "FILE:LINE: what is wrong".
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "line_reader.h"
#include "trace_format.h"
#include "trace_record.h"

namespace Tarvo::Tools {

class TraceParser {
public:
    // Parses `text` (named `name` in messages) and appends its records. On error
    // returns false with `error` set; `records` then holds what came before.
    static bool ParseText(const std::string& name, const std::string& text,
                          std::vector<TraceRecord>& records, std::string& error);
    // Reads `path` ("-" for standard input) and parses it.
    static bool ParseFile(const std::string& path, std::vector<TraceRecord>& records,
                          std::string& error);

    // A time stamp and the line it is on.
    struct StampAt {
        int line = 0;
        double stamp = 0.0;
        std::string text;  // as written, without the @
    };
    // The problem with a stamp (`text` as written, without the @) that goes back in time.
    static std::string EarlierStamp(std::string_view text);

    // Reads records one at a time from `file` (not owned), named `name` in messages,
    // from its current position; with `byteLimit` >= 0, no line starting at or past
    // that many bytes from there is read.
    TraceParser(std::string name, std::FILE* file, long byteLimit = -1);
    ~TraceParser();
    TraceParser(const TraceParser&) = delete;
    TraceParser& operator=(const TraceParser&) = delete;

    // The next record; false at the end of the file (`error` empty) or on a problem
    // (`error` set).
    bool Next(TraceRecord& record, std::string& error);

    // The records are only checked, never used: plainly valid numbers are then not
    // converted, which is a third of reading a sample line.
    void CheckOnly() { checkOnly_ = true; }

    // The file is being written as it is read (a FIFO): see LineReader::SetStreaming.
    void SetStreaming() { reader_.SetStreaming(); }

    // Lines read so far.
    int Lines() const { return reader_.Line(); }
    // The comment lines the file starts with, each without its # and outer blanks, joined
    // by blanks: what the trace shows. Complete once the first record has been read.
    const std::string& Heading() const { return heading_; }
    // The first time stamp read (even on a line that then failed) and the last.
    const std::optional<StampAt>& FirstStamp() const { return firstStamp_; }
    const std::optional<double>& LastStamp() const { return lastStamp_; }

private:
    std::string name_;
    bool checkOnly_ = false;
    std::optional<double> lastStamp_;
    std::optional<StampAt> firstStamp_;
    std::string heading_;
    bool headingDone_ = false;
    LineReader reader_;
    void ReadHeading(std::string_view line);
    std::vector<std::string_view> tokens_;  // the current line's words, in the reader's block
};

}  // namespace Tarvo::Tools
