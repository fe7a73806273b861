// The trace files of one run, read twice: once to check every line before anything
// runs, then record by record while playing, so memory does not grow with the trace.
// Each is opened once (a stream that cannot be read twice is copied as it is checked).
// A long regular file is checked as two halves at once.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "input_file.h"
#include "trace_parser.h"
#include "trace_record.h"

namespace Tarvo::Tools {

class TraceFiles : public RecordSource {
public:
    // Files of at least `splitBytes` are checked in two halves on two threads.
    static constexpr long kSplitBytes = 1L << 20;

    explicit TraceFiles(std::vector<std::string> paths, long splitBytes = kSplitBytes);
    ~TraceFiles() override;
    TraceFiles(const TraceFiles&) = delete;
    TraceFiles& operator=(const TraceFiles&) = delete;

    // Parses every file to the end; false with the first problem in `error`.
    bool Check(std::string& error);
    // Records of all files in order, after a successful Check.
    bool Next(TraceRecord& record, std::string& error) override;
    // The heading of the file the last record came from (see TraceParser::Heading).
    std::string Heading() const { return parser_ != nullptr ? parser_->Heading() : ""; }

private:
    bool OpenNext(std::string& error);
    bool CheckFile(const std::string& path, std::FILE* file, std::string& error);
    // Where the second half of `path` starts (just after a newline); -1 for no split.
    long SplitOffset(const std::string& path) const;

    std::vector<std::string> paths_;
    long splitBytes_;
    std::vector<std::unique_ptr<InputFile>> inputs_;  // opened by Check
    size_t next_ = 0;                                 // index of the file after the one being read
    std::unique_ptr<TraceParser> parser_;
};

}  // namespace Tarvo::Tools
