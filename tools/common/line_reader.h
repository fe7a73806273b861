// Lines of a text file, read in blocks, each handed out as a view with its line
// number. No line may be longer than kMaxLineBytes: a longer one is a FILE:LINE
// "line too long" error, so an endless line costs a bounded buffer.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace Tarvo::Tools {

class LineReader {
public:
    static constexpr size_t kMaxLineBytes = 64 * 1024;

    // Reads `file` (not owned) from its current position, named `name` in messages;
    // with `byteLimit` >= 0, no line starting at or past that many bytes from there.
    LineReader(std::string name, std::FILE* file, long byteLimit = -1);

    // The next line, without its newline (a carriage return before it stays), valid
    // until the next call. False at the end (`error` empty) or on a problem (`error`).
    bool Next(std::string_view& line, std::string& error);

    // The file is a stream that is being written (a FIFO): each line is handed out as
    // soon as it has come, not when a whole block has.
    void SetStreaming() { streaming_ = true; }

    // Lines read so far: the number of the last one handed out.
    int Line() const { return line_; }
    const std::string& Name() const { return name_; }

private:
    std::string name_;
    std::FILE* file_;
    long byteLimit_;
    long consumed_ = 0;
    int line_ = 0;
    std::vector<char> buffer_;
    size_t begin_ = 0;  // the unread part of buffer_ is [begin_, end_)
    size_t end_ = 0;
    bool atEnd_ = false;
    bool streaming_ = false;
};

// The problem text for a line over the bound.
std::string LineTooLong();

}  // namespace Tarvo::Tools
