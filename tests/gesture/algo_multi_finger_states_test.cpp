// Two- and three-finger gestures driven through the machine: pinch and slide.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "algo_three_fingers_move_state.h"
#include "gesture_driver.h"
#include "motion_matchers.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::AllOf;
using testing::ElementsAre;

class TwoFingerTest : public testing::Test {
protected:
    // Fingers 0 and 1 down 400 pixels apart on a horizontal line.
    void SetUp() override
    {
        g_.Down(0, 300, 1000, {0});
        ASSERT_EQ(g_.Down(1, 700, 1000, {0, 1}), STATE_TWO_FINGERS_DOWN);
    }
    GestureDriver g_;
};

TEST_F(TwoFingerTest, MalformedEventsLeadToErrorAndStillFinishThePinch)
{
    g_.Move(1, 1050, 1000, {0, 1});
    g_.Move(1, 1100, 1000, {0, 1});
    EXPECT_EQ(g_.Up(1, 1100, 1000, {0, 1, 2}), STATE_ERROR);
    EXPECT_THAT(g_.Reports(), ElementsAre(WithStatus(1), AllOf(IsReport(12, 2), WithStatus(3))));
    EXPECT_EQ(g_.StoreSize(), 0U);
}

TEST_F(TwoFingerTest, TwoFingerDownEdgeCases)
{
    EXPECT_EQ(g_.Up(5, 0, 0, {0, 5}), STATE_ERROR);  // no down record for finger 5
    GestureDriver lift;
    lift.Down(0, 0, 0, {0});
    lift.Down(1, 100, 0, {0, 1});
    EXPECT_EQ(lift.Up(1, 100, 0, {0, 1}), STATE_ONE_FINGER_DOWN);
    EXPECT_EQ(lift.StoreSize(), 1U);
    lift.Down(1, 100, 0, {0, 1});
    EXPECT_EQ(lift.Up(1, 100, 0, {1}), STATE_ERROR);  // one id listed for two fingers
}

class ThreeFingerTest : public testing::Test {
protected:
    void SetUp() override
    {
        g_.Down(0, 200, 1000, {0});
        g_.Down(1, 500, 1000, {0, 1});
        ASSERT_EQ(g_.Down(2, 800, 1000, {0, 1, 2}), STATE_THREE_FINGERS_DOWN);
    }
    GestureDriver g_;
};

TEST_F(ThreeFingerTest, LiftingOneFingerOfASlideFallsBackToTwo)
{
    for (int32_t step = 1; step <= 4; ++step) {
        for (int32_t id = 0; id < 3; ++id) {
            g_.Move(id, 200 + 300 * id + 100 * step, 1000, {0, 1, 2});
        }
    }
    ASSERT_EQ(g_.State(), STATE_SLIDE);
    EXPECT_EQ(g_.Up(2, 1200, 1000, {0, 1, 2}), STATE_TWO_FINGERS_DOWN);
    EXPECT_EQ(g_.Data().distance, 300);
}

TEST_F(ThreeFingerTest, FourthFingerEndsAndLiftingOneFallsBackToTwo)
{
    EXPECT_EQ(g_.Down(3, 900, 1500, {0, 1, 2, 3}), STATE_END);
    EXPECT_EQ(g_.StoreSize(), 4U);

    GestureDriver lift;
    lift.Down(0, 100, 100, {0});
    lift.Down(1, 400, 500, {0, 1});
    lift.Down(2, 900, 900, {0, 1, 2});
    EXPECT_EQ(lift.Up(2, 900, 900, {0, 1, 2}), STATE_TWO_FINGERS_DOWN);
    EXPECT_EQ(lift.Data().distance, 500);
    EXPECT_EQ(lift.Data().angle, 53);
}

// Directions and the slide's average are in every slide trace; these are the edges.
TEST(ThreeFingersMoveRulesTest, ShortOrMismatchedListsAreNoDirection)
{
    AlgoThreeFingersMoveState state;
    EXPECT_FALSE(state.IsSameDirection({10, 20}, {DIRECTION_UP, DIRECTION_UP}));
    EXPECT_FALSE(state.IsSameDirection({}, {DIRECTION_UP}));
    EXPECT_TRUE(state.IsSameDirection({0, 0, 0, 9},
                                      {DIRECTION_UP, DIRECTION_UP, DIRECTION_UP, DIRECTION_LEFT}));
    EXPECT_EQ(state.GetAvgDistance(), 0);  // an empty store averages to 0
}

}  // namespace
}  // namespace Tarvo::Quil::Test
