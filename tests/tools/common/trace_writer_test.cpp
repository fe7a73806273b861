#include "trace_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "memory_file.h"

namespace Tarvo::Tools::Test {
namespace {

std::string Written(const std::function<void(TraceWriter&)>& write)
{
    Tarvo::Test::MemoryFile file;
    TraceWriter writer(file.File());
    write(writer);
    return file.Text();
}

TEST(TraceWriterTest, WritesRecordsReplayReads)
{
    EXPECT_EQ(Written([](TraceWriter& w) {
                  w.Comment("from a.csv\n\nsecond");
                  w.Enable(3);
                  w.Acc(0, 0.1F, -9.80665F, 1e-7F);
                  w.Prox(100, 5);
                  w.Light(100.5, 0);
                  w.Touch(101.25, TraceWriter::kDown, 0, 10, 20, {0});
                  w.Touch(102, TraceWriter::kUp, 1, 10, 20, {0, 1});
                  w.Touch(103, 7, 1, 10, 20, {});
              }),
              "# from a.csv\n#\n# second\nenable 3\n@0 acc 0.1 -9.80665 1e-07\n@100 prox 5\n"
              "@100.5 light 0\n@101.25 touch down 0 10 20 0\n@102 touch up 1 10 20 0,1\n"
              "@103 touch 7 1 10 20 -\n");
}

TEST(TraceWriterTest, StampsNeverRunBackwards)
{
    EXPECT_EQ(Written([](TraceWriter& w) {
                  w.Prox(50, 1);
                  w.Prox(20, 1);
                  w.Prox(std::nan(""), 1);
              }),
              "@50 prox 1\n@50 prox 1\n@50 prox 1\n");
}

TEST(TraceWriterTest, FloatsReadBackExactly)
{
    for (float value : {0.1F, 9.80665F, -3.4028235e38F, 1.17549435e-38F, 16777217.0F, 0.3F}) {
        const std::string text = TraceWriter::FormatFloat(value);
        EXPECT_EQ(std::strtof(text.c_str(), nullptr), value) << text;
    }
    EXPECT_EQ(TraceWriter::FormatFloat(std::numeric_limits<float>::infinity()), "inf");
    EXPECT_EQ(TraceWriter::FormatFloat(std::nanf("")), "nan");
    EXPECT_EQ(TraceWriter::FormatStamp(12.0004), "12");
    EXPECT_EQ(TraceWriter::FormatStamp(0.0015), "0.002");
    EXPECT_EQ(TraceWriter::FormatStamp(-1), "0");
}

}  // namespace
}  // namespace Tarvo::Tools::Test
