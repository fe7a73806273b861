// A program's input, read alike whatever it is: a regular file, "-" for standard
// input, a pipe, a FIFO, a process substitution or a device. What cannot be read twice
// is copied once, as it is read, into an unlinked temporary file, so every input can
// be looked at first (format detection, a check before playing) and then read from the
// start again, while memory stays flat however long it is. The copy stops at the first
// line longer than LineReader::kMaxLineBytes: an endless line (/dev/zero) is an error
// there, not at the end of the disk.
#pragma once

#include <cstdio>
#include <string>

namespace Tarvo::Tools {

class InputFile {
public:
    InputFile() = default;
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    // Opens `path` ("-": standard input), copying it first when it is not a regular
    // file. False with "PATH: problem" (or "PATH:LINE: line too long") in `error`.
    bool Open(const std::string& path, std::string& error);

    const std::string& Name() const { return name_; }
    // The open file, at the start after Open and after Rewind.
    std::FILE* File() const { return file_; }
    // Back to the start; false with `error` set when that fails.
    bool Rewind(std::string& error);
    // Up to `bytes` from the start, leaving the file at the start.
    std::string Head(size_t bytes);

private:
    bool Copy(std::FILE* from, std::string& error);

    std::string name_;
    std::FILE* file_ = nullptr;
};

}  // namespace Tarvo::Tools
