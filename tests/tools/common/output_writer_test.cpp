#include "output_writer.h"

#include <gtest/gtest.h>

#include <limits>

#include "memory_file.h"

namespace Tarvo::Tools::Test {
namespace {

Quil::MotionData Flip()
{
    Quil::MotionData data;
    data.type = 3;
    data.result = 1;
    return data;
}

TEST(OutputWriterTest, JsonLinesCarryTypesAndStamps)
{
    Tarvo::Test::MemoryFile file;
    OutputWriter writer(file.File(), true);
    writer.HostCall("enable", 3, 0, std::nullopt);
    writer.HostQuery("idle", std::nullopt, true, 12.5);
    writer.Report(Flip(), std::nullopt);
    Quil::MotionData pinch = Flip();
    pinch.move = 1.5;
    writer.Report(pinch, 300.0);
    EXPECT_EQ(file.Text(),
              "{\"call\":\"enable\",\"arg\":3,\"result\":0}\n"
              "{\"t\":12.5,\"call\":\"idle\",\"result\":true}\n"
              "{\"report\":{\"type\":3,\"result\":1,\"status\":-1,\"action\":-1,\"direction\":-1,"
              "\"rotateAction\":-1,\"move\":0.0}}\n"
              "{\"t\":300,\"report\":{\"type\":3,\"result\":1,\"status\":-1,\"action\":-1,"
              "\"direction\":-1,\"rotateAction\":-1,\"move\":1.5}}\n");
}

TEST(JsonDoubleTest, ShortestRoundTripWithAFractionAndNullForNonFinite)
{
    EXPECT_EQ(OutputWriter::JsonDouble(0.0), "0.0");
    EXPECT_EQ(OutputWriter::JsonDouble(0.1), "0.1");
    EXPECT_EQ(OutputWriter::JsonDouble(300.0), "300.0");
    EXPECT_EQ(OutputWriter::JsonDouble(-2.0), "-2.0");
    EXPECT_EQ(OutputWriter::JsonDouble(1.0 / 3.0), "0.3333333333333333");
    EXPECT_EQ(OutputWriter::JsonDouble(1e300), "1e+300");
    EXPECT_EQ(OutputWriter::JsonDouble(std::numeric_limits<double>::infinity()), "null");
}

}  // namespace
}  // namespace Tarvo::Tools::Test
