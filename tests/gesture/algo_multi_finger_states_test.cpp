// Two- and three-finger gestures driven through the machine: pinch and slide.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "algo_three_fingers_move_state.h"
#include "gesture_driver.h"
#include "motion_matchers.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(TwoFingerTest, OpeningPinchStartsAtThreeHundredPixelsAndReportsItsScale)
{
    EXPECT_EQ(g_.Move(1, 800, 1000, {0, 1}), STATE_TWO_FINGERS_MOVE);
    EXPECT_EQ(g_.Move(1, 999, 1000, {0, 1}), STATE_TWO_FINGERS_MOVE);  // 299 more
    EXPECT_EQ(g_.Move(1, 1000, 1000, {0, 1}), STATE_PINCH);            // 300 more
    EXPECT_THAT(g_.Reports(), ElementsAre(AllOf(IsReport(12, 1), WithStatus(1), WithAction(0),
                                                WithMove(700.0 / 400.0))));
}

TEST_F(TwoFingerTest, PinchReportsScaleStepsAndKeepsItsStartAction)
{
    g_.Move(0, 400, 1000, {0, 1});
    g_.Move(1, 500, 1000, {0, 1});  // 100 apart: closing, scale 0.25
    ASSERT_EQ(g_.State(), STATE_PINCH);
    g_.Move(1, 560, 1000, {0, 1});  // 0.4: reported, still with the start status
    g_.Move(1, 580, 1000, {0, 1});  // 0.45: not more than 0.1 further
    g_.Move(1, 800, 1000, {0, 1});  // 1.0, opening now: in progress, only logged
    EXPECT_EQ(GestureDriver::Report().move, 1.0);
    EXPECT_EQ(g_.Up(1, 800, 1000, {0, 1}), STATE_ONE_FINGER_DOWN);
    EXPECT_THAT(g_.Reports(),
                ElementsAre(AllOf(WithStatus(1), WithAction(1), WithMove(0.25)),
                            AllOf(WithStatus(1), WithAction(1), WithMove(0.4)),
                            AllOf(IsReport(12, 2), WithStatus(3), WithAction(1), WithMove(1.0))));
}

TEST_F(TwoFingerTest, TurningBeforeThePinchEndsWithoutReport)
{
    g_.Move(1, 700, 1050, {0, 1});
    EXPECT_EQ(g_.Move(1, 700, 1400, {0, 1}), STATE_END);  // 45 degrees against finger 0
    EXPECT_THAT(g_.Reports(), IsEmpty());
}

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

TEST(ZeroReferencePinchTest, ScaleChangesThatAreNoNumberAreNotReported)
{
    GestureDriver g;
    g.Down(0, 500, 1000, {0});
    g.Move(0, 520, 1000, {0});
    // The move state takes a second finger on the first one's spot: reference distance 0.
    ASSERT_EQ(g.Down(1, 520, 1000, {0, 1}), STATE_TWO_FINGERS_DOWN);
    EXPECT_EQ(g.Data().distance, 0);
    g.Move(1, 600, 1000, {0, 1});
    EXPECT_EQ(g.Move(1, 900, 1000, {0, 1}), STATE_PINCH);   // infinite scale: opening
    EXPECT_EQ(g.Move(1, 520, 1000, {0, 1}), STATE_PINCH);   // 0/0
    EXPECT_EQ(g.Move(1, 1000, 1000, {0, 1}), STATE_PINCH);  // infinite again: no change either
    EXPECT_TRUE(std::isinf(GestureDriver::Report().move));
    EXPECT_EQ(g.Up(1, 1000, 1000, {0, 1}), STATE_ONE_FINGER_DOWN);
    EXPECT_THAT(g.Reports(), ElementsAre(AllOf(IsReport(12, 1), WithStatus(1), WithAction(0)),
                                         AllOf(IsReport(12, 2), WithStatus(3))));
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

TEST_F(ThreeFingerTest, FingersMovingApartEndTheGesture)
{
    g_.Move(0, 200, 1005, {0, 1, 2});
    g_.Move(0, 200, 1010, {0, 1, 2});
    g_.Move(1, 500, 990, {0, 1, 2});
    EXPECT_EQ(g_.Move(2, 800, 1400, {0, 1, 2}), STATE_END);
    EXPECT_THAT(g_.Reports(), IsEmpty());
}

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
