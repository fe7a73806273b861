// A FILE* that writes into memory, for writers that take one: what was written so far
// comes back as a string.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace Tarvo::Test {

class MemoryFile {
public:
    MemoryFile() : file_(open_memstream(&buffer_, &size_)) {}
    ~MemoryFile()
    {
        std::fclose(file_);
        std::free(buffer_);
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::FILE* File() const { return file_; }

    std::string Text()
    {
        std::fflush(file_);
        return std::string(buffer_, size_);
    }

private:
    char* buffer_ = nullptr;
    size_t size_ = 0;
    std::FILE* file_;
};

}  // namespace Tarvo::Test
