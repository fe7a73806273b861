// A long trace file is checked as two halves on two threads. Whatever the split, the
// first problem reported must be the one a check from the top finds, with the file's
// own line numbers, and playing must still see every record in order.
#include "trace_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace Tarvo::Tools::Test {
namespace {

constexpr long kSplitAlways = 1;
constexpr long kNeverSplit = 1L << 40;

class TraceFilesTest : public testing::Test {
protected:
    void TearDown() override { std::filesystem::remove(path_); }

    void Write(const std::vector<std::string>& lines)
    {
        std::ofstream out(path_, std::ios::binary | std::ios::trunc);
        for (const std::string& line : lines) {
            out << line << "\n";
        }
    }

    std::string CheckError(long splitBytes)
    {
        TraceFiles files({path_}, splitBytes);
        std::string error;
        return files.Check(error) ? "" : error;
    }

    // Forty stamped samples, ten milliseconds apart.
    static std::vector<std::string> Samples()
    {
        std::vector<std::string> lines;
        for (int i = 0; i < 40; ++i) {
            lines.push_back("@" + std::to_string(10 * i) + " acc 0.1 0.2 9.8");
        }
        return lines;
    }

    std::string path_ = (std::filesystem::temp_directory_path() /
                         ("quil_trace_files_" + std::to_string(::getpid()) + ".trace"))
                            .string();
};

TEST_F(TraceFilesTest, AnySplitFindsTheFirstProblemAtItsOwnLine)
{
    const std::vector<std::string> corruptions = {
        "acc 1 2",              // its own problem
        "@5 acc 1 2 3",         // a stamp that goes back
        "@5 acc 1 2",           // goes back, then its own problem
        "@x acc 1 2 3",         // not a stamp at all
        "# a comment, then: ",  // fine
    };
    for (size_t at = 0; at < 40; ++at) {
        for (const std::string& corruption : corruptions) {
            std::vector<std::string> lines = Samples();
            lines[at] = corruption;
            lines[30] = "bogus";  // a later problem that must not win
            Write(lines);
            EXPECT_EQ(CheckError(kSplitAlways), CheckError(kNeverSplit))
                << "line " << at + 1 << ": " << corruption;
        }
    }
}

TEST_F(TraceFilesTest, ACleanSplitFileIsPlayedWhole)
{
    Write(Samples());
    TraceFiles files({path_}, kSplitAlways);
    std::string error;
    ASSERT_TRUE(files.Check(error)) << error;
    TraceRecord record;
    int count = 0;
    while (files.Next(record, error)) {
        ++count;
        EXPECT_EQ(record.line, count);
    }
    EXPECT_EQ(error, "");
    EXPECT_EQ(count, 40);
}

}  // namespace
}  // namespace Tarvo::Tools::Test
