// A string as a read-only FILE*, for readers that take one.
#pragma once

#include <cstdio>
#include <string>

namespace Tarvo::Test {

class TextFile {
public:
    explicit TextFile(std::string text)
        : text_(std::move(text)), file_(fmemopen(text_.data(), text_.size(), "r"))
    {
    }
    ~TextFile()
    {
        if (file_ != nullptr) {
            std::fclose(file_);
        }
    }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    std::FILE* File() const { return file_; }

private:
    std::string text_;
    std::FILE* file_;
};

}  // namespace Tarvo::Test
