#include "line_reader.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <future>

namespace Tarvo::Tools {
namespace {

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
