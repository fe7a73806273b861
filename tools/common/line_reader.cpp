#include "line_reader.h"

#include <cstring>

#include "line_error.h"

namespace Tarvo::Tools {
namespace {

constexpr size_t kBlock = 64 * 1024;

// What has come of a stream, up to and with the next newline: a read never waits for more
// than the line it is in.
size_t ReadLineOrLess(std::FILE* file, char* into, size_t room)
{
    size_t got = 0;
    for (int c = 0; got < room && (c = std::getc(file)) != EOF;) {
        into[got++] = static_cast<char>(c);
        if (c == '\n') {
            break;
        }
    }
    return got;
}

}  // namespace

std::string LineTooLong()
{
    return "line too long (more than " + std::to_string(LineReader::kMaxLineBytes) + " bytes)";
}

LineReader::LineReader(std::string name, std::FILE* file, long byteLimit)
    : name_(std::move(name)), file_(file), byteLimit_(byteLimit)
{
}

bool LineReader::Next(std::string_view& line, std::string& error)
{
    error.clear();
    if (byteLimit_ >= 0 && consumed_ >= byteLimit_) {
        return false;
    }
    size_t scanned = begin_;  // no newline before here
    for (;;) {
        const void* newline =
            end_ > scanned ? std::memchr(buffer_.data() + scanned, '\n', end_ - scanned) : nullptr;
        const size_t stop =
            newline != nullptr
                ? static_cast<size_t>(static_cast<const char*>(newline) - buffer_.data())
                : end_;
        if (stop - begin_ > kMaxLineBytes) {
            error = LineError(name_, line_ + 1, LineTooLong());
            return false;
        }
        if (newline != nullptr || (atEnd_ && end_ > begin_)) {
            line = std::string_view(buffer_.data() + begin_, stop - begin_);
            const size_t next = newline != nullptr ? stop + 1 : stop;
            consumed_ += static_cast<long>(next - begin_);
            begin_ = next;
            ++line_;
            return true;
        }
        if (atEnd_) {
            return false;
        }
        // Keep the partial line at the front, with a block of room after it.
        scanned = end_ - begin_;
        if (scanned > 0) {
            std::memmove(buffer_.data(), buffer_.data() + begin_, scanned);
        }
        end_ = scanned;
        begin_ = 0;
        if (buffer_.size() < end_ + kBlock) {
            buffer_.resize(end_ + kBlock);
        }
        const size_t room = buffer_.size() - end_;
        const size_t got = streaming_ ? ReadLineOrLess(file_, buffer_.data() + end_, room)
                                      : std::fread(buffer_.data() + end_, 1, room, file_);
        end_ += got;
        if (got == 0) {
            // stdio rather than streams: reading a directory or a failing device is an
            // error to report, not an exception.
            if (std::ferror(file_) != 0) {
                error = name_ + ": cannot be read";
                return false;
            }
            atEnd_ = true;
        }
    }
}

}  // namespace Tarvo::Tools
