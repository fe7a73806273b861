#include "display_mapper.h"

#include <gtest/gtest.h>

#include <utility>

namespace Tarvo::Input::Test {
namespace {

std::pair<int32_t, int32_t> Map(const DisplayMapper& mapper, int32_t x, int32_t y)
{
    std::pair<int32_t, int32_t> out;
    mapper.Map(x, y, out.first, out.second);
    return out;
}

using P = std::pair<int32_t, int32_t>;

TEST(DisplayMapperTest, ScalesTheAxisRangesOntoTheReferenceDisplay)
{
    const DisplayMapper mapper({0, 1279}, {0, 767});
    EXPECT_EQ(Map(mapper, 0, 0), P(0, 0));
    EXPECT_EQ(Map(mapper, 1279, 767), P(1343, 2771));
    EXPECT_EQ(Map(mapper, 640, 384), P(672, 1387));
    // Outside the declared range: onto the edge, not off the display.
    EXPECT_EQ(Map(mapper, -50, 9000), P(0, 2771));
}

TEST(DisplayMapperTest, HonoursANonZeroMinimumAndOtherDisplays)
{
    const DisplayMapper mapper({100, 200}, {-10, 10}, 101, 21);
    EXPECT_EQ(Map(mapper, 150, 0), P(50, 10));
    EXPECT_EQ(Map(mapper, 100, -10), P(0, 0));
}

TEST(DisplayMapperTest, RotationsTurnTheCorners)
{
    // The panel's top-left and top-right corners, for each turn.
    const AxisRange x{0, 1000}, y{0, 500};
    const DisplayMapper r90(x, y, 1344, 2772, 90);
    EXPECT_EQ(Map(r90, 0, 0), P(1343, 0));
    EXPECT_EQ(Map(r90, 1000, 0), P(1343, 2771));
    const DisplayMapper r180(x, y, 1344, 2772, 180);
    EXPECT_EQ(Map(r180, 0, 0), P(1343, 2771));
    EXPECT_EQ(Map(r180, 1000, 0), P(0, 2771));
    const DisplayMapper r270(x, y, 1344, 2772, 270);
    EXPECT_EQ(Map(r270, 0, 0), P(0, 2771));
    EXPECT_EQ(Map(r270, 1000, 0), P(0, 0));
}

TEST(DisplayMapperTest, DegenerateInputStaysOnTheDisplay)
{
    EXPECT_FALSE(DisplayMapper::IsValidRotation(45));
    const DisplayMapper flat({5, 5}, {9, 0}, 0, -3, 45);
    EXPECT_EQ(Map(flat, 5, 5), P(0, 0));
    const DisplayMapper wide({INT32_MIN, INT32_MAX}, {0, 1});
    EXPECT_EQ(Map(wide, INT32_MAX, 1), P(1343, 2771));
}

}  // namespace
}  // namespace Tarvo::Input::Test
