#include "trace_files.h"

namespace Tarvo::Replay {
namespace {
constexpr char kStdin[] = "-";
}  // namespace

TraceFiles::TraceFiles(std::vector<std::string> paths) : paths_(std::move(paths))
{
}

TraceFiles::~TraceFiles()
{
    Close(current_);
    if (stdinCopy_ != nullptr) {
        std::fclose(stdinCopy_);
    }
}

std::FILE* TraceFiles::Open(const std::string& path)
{
    if (path != kStdin) {
        return std::fopen(path.c_str(), "rb");
    }
    if (stdinCopy_ == nullptr) {
        stdinCopy_ = std::tmpfile();
        if (stdinCopy_ == nullptr) {
            return nullptr;
        }
        char buffer[65536];
        size_t got = 0;
        while ((got = std::fread(buffer, 1, sizeof(buffer), stdin)) > 0) {
            if (std::fwrite(buffer, 1, got, stdinCopy_) != got) {
                break;
            }
        }
        if (std::ferror(stdin) != 0 || std::ferror(stdinCopy_) != 0) {
            std::fclose(stdinCopy_);
            stdinCopy_ = nullptr;
            return nullptr;
        }
    }
    std::rewind(stdinCopy_);
    return stdinCopy_;
}

void TraceFiles::Close(std::FILE* file)
{
    if (file != nullptr && file != stdinCopy_) {
        std::fclose(file);
    }
}

bool TraceFiles::Check(std::string& error)
{
    TraceRecord record;
    for (const std::string& path : paths_) {
        std::FILE* file = Open(path);
        if (file == nullptr) {
            error = path + ": cannot be read";
            return false;
        }
        TraceParser parser(path, file);
        while (parser.Next(record, error)) {
        }
        Close(file);
        if (!error.empty()) {
            return false;
        }
    }
    return true;
}

bool TraceFiles::OpenNext(std::string& error)
{
    parser_.reset();
    Close(current_);
    current_ = nullptr;
    if (next_ == paths_.size()) {
        return false;
    }
    const std::string& path = paths_[next_++];
    current_ = Open(path);
    if (current_ == nullptr) {
        error = path + ": cannot be read";
        return false;
    }
    parser_ = std::make_unique<TraceParser>(path, current_);
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

}  // namespace Tarvo::Replay
