#include "trace_files.h"

#include <sys/stat.h>

#include <climits>
#include <thread>

#include "line_error.h"

namespace Tarvo::Tools {

TraceFiles::TraceFiles(std::vector<std::string> paths, long splitBytes)
    : paths_(std::move(paths)), splitBytes_(splitBytes)
{
}

TraceFiles::~TraceFiles() = default;

bool TraceFiles::Check(std::string& error)
{
    inputs_.clear();
    for (const std::string& path : paths_) {
        inputs_.push_back(std::make_unique<InputFile>());
        if (!inputs_.back()->Open(path, error) || !CheckFile(path, inputs_.back()->File(), error)) {
            return false;
        }
    }
    return true;
}

long TraceFiles::SplitOffset(const std::string& path) const
{
    struct stat info {};
    if (path == "-" || stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        info.st_size < splitBytes_) {
        return -1;
    }
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return -1;
    }
    long offset = -1;
    if (std::fseek(file, static_cast<long>(info.st_size / 2), SEEK_SET) == 0) {
        int c = 0;
        while ((c = std::fgetc(file)) != EOF && c != '\n') {
        }
        if (c == '\n') {
            offset = std::ftell(file);
        }
    }
    std::fclose(file);
    return offset;
}

bool TraceFiles::CheckFile(const std::string& path, std::FILE* file, std::string& error)
{
    const long split = SplitOffset(path);
    TraceRecord record;
    TraceParser head(path, file, split);
    head.CheckOnly();
    if (split < 0) {
        while (head.Next(record, error)) {
        }
        return error.empty();
    }
    // The second half is checked beside the first, numbering its lines from 1 and
    // knowing no earlier stamp; both are put right once the first half is done.
    std::string tailError;
    int tailLines = 0;  // the line that failed, when one did
    std::optional<TraceParser::StampAt> tailFirstStamp;
    std::thread tailCheck([&] {
        std::FILE* tail = std::fopen(path.c_str(), "rb");
        if (tail == nullptr || std::fseek(tail, split, SEEK_SET) != 0) {
            tailError = path + ": cannot be read";
        } else {
            TraceParser parser(path, tail);
            parser.CheckOnly();
            TraceRecord tailRecord;
            while (parser.Next(tailRecord, tailError)) {
            }
            tailFirstStamp = parser.FirstStamp();
            tailLines = parser.Lines();
        }
        if (tail != nullptr) {
            std::fclose(tail);
        }
    });
    while (head.Next(record, error)) {
    }
    tailCheck.join();
    if (!error.empty()) {
        return false;
    }
    const int offset = head.Lines();
    // "FILE:LINE: problem" with the line counted from the split; a read failure names
    // no line.
    int tailErrorLine = INT_MAX;
    const std::string prefix = path + ":";
    const std::string relative = prefix + std::to_string(tailLines) + ":";
    if (tailError.compare(0, relative.size(), relative) == 0) {
        tailErrorLine = offset + tailLines;
        tailError = prefix + std::to_string(tailErrorLine) + tailError.substr(relative.size() - 1);
    }
    // The one order check that spans the halves comes first on its line.
    if (tailFirstStamp.has_value() && head.LastStamp().has_value() &&
        tailFirstStamp->stamp < *head.LastStamp() &&
        offset + tailFirstStamp->line <= tailErrorLine) {
        error = LineError(path, offset + tailFirstStamp->line,
                          TraceParser::EarlierStamp(tailFirstStamp->text));
        return false;
    }
    error = tailError;
    return error.empty();
}

bool TraceFiles::OpenNext(std::string& error)
{
    parser_.reset();
    if (next_ == inputs_.size()) {
        return false;
    }
    InputFile& input = *inputs_[next_++];
    if (!input.Rewind(error)) {
        return false;
    }
    parser_ = std::make_unique<TraceParser>(input.Name(), input.File());
    return true;
}

bool TraceFiles::Next(TraceRecord& record, std::string& error)
{
    error.clear();
    for (;;) {
        if (parser_ != nullptr && parser_->Next(record, error)) {
            return true;
        }
        if (!error.empty() || !OpenNext(error)) {
            return false;
        }
    }
}

}  // namespace Tarvo::Tools
