#include "output_writer.h"

#include <gtest/gtest.h>

#include <limits>

namespace Tarvo::Tools::Test {
namespace {

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
