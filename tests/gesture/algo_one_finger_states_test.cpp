// One-finger gestures: down, move, swipe and end states driven through the machine.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "gesture_driver.h"
#include "motion_matchers.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;

class OneFingerTest : public testing::Test {
protected:
    // Down at (x0, y0), then a move to (x1, y1) and one to (x2, y2).
    States Track(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t x2, int32_t y2)
    {
        g_.Down(0, x0, y0, {0});
        g_.Move(0, x1, y1, {0});
        return g_.Move(0, x2, y2, {0});
    }

    GestureDriver g_;
};

TEST_F(OneFingerTest, DownStateRejectsWhatFitsNoGesture)
{
    g_.Down(0, 10, 10, {0});
    EXPECT_EQ(g_.Down(1, 10, 10, {0, 1}), STATE_ERROR);  // coinciding positions
    EXPECT_EQ(g_.StoreSize(), 0U);

    g_.Up(1, 10, 10, {1});
    g_.Down(0, 10, 10, {0});
    EXPECT_EQ(g_.Down(1, 11, 11, {0, 1}), STATE_TWO_FINGERS_DOWN);  // 1.41 truncates to 1

    GestureDriver other;
    other.Down(0, 10, 10, {0});
    EXPECT_EQ(other.Down(0, 40, 40, {0}), STATE_ONE_FINGER_DOWN);  // restarts silently
    EXPECT_EQ(other.Data().pointerEvents.begin()->second.x, 40);
    EXPECT_EQ(other.Down(2, 1, 1, {0, 1, 2}), STATE_ERROR);
}

// The progress steps are in the gesture traces; the report's reset after the end is not.
TEST_F(OneFingerTest, FinishedSwipeResetsTheReportButKeepsItsType)
{
    Track(50, 1000, 100, 1000, 150, 1000);
    g_.Move(0, 161, 1000, {0});
    EXPECT_EQ(g_.Up(0, 161, 1000, {0}), STATE_IDLE);
    EXPECT_THAT(g_.Reports(),
                ElementsAre(IsReport(10, 1), AllOf(IsReport(10, 2), WithMove(111.0))));
    EXPECT_EQ(GestureDriver::Report().Dump(),
              "type:10 result:-1 status:-1 action:-1 direction:-1 rotateAction:-1 move:0.000000");
}

TEST_F(OneFingerTest, EndStateAbsorbsMovesAndFollowsTheFingerCount)
{
    Track(600, 600, 600, 650, 600, 800);  // downwards: no swipe
    ASSERT_EQ(g_.State(), STATE_END);
    EXPECT_EQ(g_.Move(0, 600, 900, {0, 1, 2}), STATE_END);
    EXPECT_EQ(g_.Down(1, 900, 900, {0, 1}), STATE_TWO_FINGERS_DOWN);
    EXPECT_EQ(g_.Data().distance, 300);

    GestureDriver lifted;
    lifted.Down(0, 600, 600, {0});
    lifted.Move(0, 600, 650, {0});
    lifted.Move(0, 600, 800, {0});
    EXPECT_EQ(lifted.Up(0, 600, 800, {0}), STATE_IDLE);
    EXPECT_EQ(lifted.Up(3, 0, 0, {3}), STATE_ERROR);  // idle: a stray up
    EXPECT_THAT(lifted.Reports(), IsEmpty());
}

TEST_F(OneFingerTest, EndStateLiftOfAnUnknownFingerIsAnError)
{
    Track(600, 600, 600, 650, 600, 800);
    EXPECT_EQ(g_.Up(4, 0, 0, {0, 4}), STATE_ERROR);
    EXPECT_EQ(g_.StoreSize(), 0U);
}

TEST_F(OneFingerTest, HostileInputNeverCrashesOrGrowsTheStore)
{
    Track(INT32_MIN, INT32_MAX, 0, 0, INT32_MAX, INT32_MIN);
    for (int32_t id = 0; id < 200; ++id) {
        g_.Move(id, id, id, {0, 1, 2, 3, 4});
        g_.Feed(PointerEvent{id, 9, 0, 0, {}});
        g_.Up(id, 0, 0, {});
    }
    EXPECT_LE(g_.StoreSize(), 32U);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
