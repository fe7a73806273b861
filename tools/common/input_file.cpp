#include "input_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "line_error.h"
#include "line_reader.h"

namespace Tarvo::Tools {

InputFile::~InputFile()
{
    if (file_ != nullptr && file_ != stdin) {
        std::fclose(file_);
    }
}

bool InputFile::Open(const std::string& path, std::string& error)
{
    name_ = path;
    const bool standardInput = path == "-";
    std::FILE* source = standardInput ? stdin : std::fopen(path.c_str(), "rb");
    if (source == nullptr) {
        error = path + ": cannot be read: " + std::strerror(errno);
        return false;
    }
    struct stat info {};
    if (fstat(fileno(source), &info) == 0 && S_ISDIR(info.st_mode)) {
        error = path + ": cannot be read: is a directory";
        if (!standardInput) {
            std::fclose(source);
        }
        return false;
    }
    if (!standardInput && S_ISREG(info.st_mode)) {
        file_ = source;
        return true;
    }
    const bool copied = Copy(source, error);
    if (!standardInput) {
        std::fclose(source);
    }
    return copied;
}

bool InputFile::Copy(std::FILE* from, std::string& error)
{
    file_ = std::tmpfile();
    if (file_ == nullptr) {
        error = name_ + ": cannot make a temporary copy: " + std::strerror(errno);
        return false;
    }
    char buffer[1 << 16];
    size_t lineBytes = 0;  // since the last newline
    int line = 1;
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof(buffer), from)) > 0) {
        for (size_t i = 0; i < got; ++i) {
            if (buffer[i] == '\n') {
                lineBytes = 0;
                ++line;
            } else if (++lineBytes > LineReader::kMaxLineBytes) {
                error = LineError(name_, line, LineTooLong());
                return false;
            }
        }
        if (std::fwrite(buffer, 1, got, file_) != got) {
            error = name_ + ": cannot make a temporary copy: " + std::strerror(errno);
            return false;
        }
    }
    if (std::ferror(from) != 0) {
        error = name_ + ": cannot be read";
        return false;
    }
    return Rewind(error);
}

bool InputFile::Rewind(std::string& error)
{
    if (std::fflush(file_) != 0 || std::fseek(file_, 0, SEEK_SET) != 0) {
        error = name_ + ": cannot be read again: " + std::strerror(errno);
        return false;
    }
    std::clearerr(file_);
    return true;
}

std::string InputFile::Head(size_t bytes)
{
    std::string head(bytes, '\0');
    head.resize(std::fread(&head[0], 1, bytes, file_));
    std::string ignored;
    Rewind(ignored);
    return head;
}

}  // namespace Tarvo::Tools
