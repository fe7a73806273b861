// The programs' one way of reading input: any stream is read once and can be read again
// from the start; lines are bounded, and a stream's lines come as they are written.
#include "input_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <string>
#include <thread>

#include "line_reader.h"

namespace Tarvo::Tools {
namespace {

using ::testing::HasSubstr;

// Every line of `file`, joined with "|"; the error, if any, last.
std::string AllLines(const std::string& name, std::FILE* file)
{
    LineReader reader(name, file);
    std::string_view line;
    std::string error;
    std::string all;
    while (reader.Next(line, error)) {
        all += std::string(line) + "|";
    }
    return all + error;
}

TEST(InputFileTest, AFifoIsReadOnceAndThenAsOftenAsNeeded)
{
    const std::string fifo = ::testing::TempDir() + "/quil-input-" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::thread writer([&fifo] {
        std::FILE* out = std::fopen(fifo.c_str(), "w");
        std::fputs("first\nsecond\r\nlast", out);
        std::fclose(out);
    });
    InputFile input;
    std::string error;
    ASSERT_TRUE(input.Open(fifo, error)) << error;
    writer.join();
    unlink(fifo.c_str());

    EXPECT_EQ(input.Head(8), "first\nse");
    EXPECT_EQ(AllLines(input.Name(), input.File()), "first|second\r|last|");
    ASSERT_TRUE(input.Rewind(error)) << error;
    EXPECT_EQ(AllLines(input.Name(), input.File()), "first|second\r|last|");
}

TEST(LineReaderTest, ALongLineIsAnErrorAtItsNumberAndTheBufferStaysBounded)
{
    std::FILE* file = std::tmpfile();
    std::fputs("short\n", file);
    const std::string longest(LineReader::kMaxLineBytes, 'x');
    std::fputs((longest + "\n" + longest + "y\nnever read\n").c_str(), file);
    std::rewind(file);
    const std::string all = AllLines("f", file);
    EXPECT_EQ(all.substr(0, 6), "short|");
    EXPECT_EQ(all.size(), 6 + longest.size() + 1 + std::string("f:3: line too long").size() +
                              std::string(" (more than 65536 bytes)").size());
    EXPECT_THAT(all, HasSubstr("|f:3: line too long (more than 65536 bytes)"));
    std::fclose(file);
}

// A FIFO's writer may write one line and wait: the reader must hand it out at once.
TEST(LineReaderTest, AStreamHandsOutEachLineAsItComes)
{
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    std::FILE* in = fdopen(fds[0], "r");
    LineReader reader("fifo", in);
    reader.SetStreaming();
    std::string error;
    std::string_view line;
    ASSERT_EQ(write(fds[1], "acc 1 2 3\nlight", 15), 15);
    auto first = std::async(std::launch::async, [&] { return reader.Next(line, error); });
    ASSERT_EQ(first.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_TRUE(first.get());
    EXPECT_EQ(line, "acc 1 2 3");
    ASSERT_EQ(write(fds[1], " 5\n", 3), 3);
    close(fds[1]);
    EXPECT_TRUE(reader.Next(line, error));
    EXPECT_EQ(line, "light 5");
    EXPECT_FALSE(reader.Next(line, error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(reader.Line(), 2);
    std::fclose(in);
}

}  // namespace
}  // namespace Tarvo::Tools
