// Two- and three-finger gestures driven through the machine: pinch and slide.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "algo_slide_state.h"
#include "algo_three_fingers_move_state.h"
#include "gesture_driver.h"
#include "log_capture.h"
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

TEST_F(TwoFingerTest, TurningTheFingersEndsThePinchWithItsFinishingReport)
{
    // One finger moving: measured against finger 0's down record.
    EXPECT_EQ(g_.Move(1, 1050, 1000, {0, 1}), STATE_TWO_FINGERS_MOVE);  // the first move
    EXPECT_EQ(g_.Move(1, 1100, 1000, {0, 1}), STATE_PINCH);
    EXPECT_EQ(g_.Move(1, 1070, 1453, {0, 1}), STATE_PINCH);  // 30.47 degrees: within
    EXPECT_EQ(g_.Move(1, 1000, 1500, {0, 1}), STATE_END);    // 35.5 degrees
    EXPECT_THAT(g_.Reports().back(), AllOf(IsReport(12, 2), WithStatus(3)));
}

TEST_F(TwoFingerTest, TurningBeforeThePinchEndsWithoutReport)
{
    g_.Move(1, 700, 1050, {0, 1});
    EXPECT_EQ(g_.Move(1, 700, 1400, {0, 1}), STATE_END);  // 45 degrees against finger 0
    EXPECT_EQ(GestureDriver::Report().result, -1);
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
    GestureDriver lift;  // (drivers reset the platform: made before the log capture)
    GestureDriver wrongUp;
    lift.Down(0, 0, 0, {0});
    lift.Down(1, 100, 0, {0, 1});
    wrongUp.Down(0, 0, 0, {0});
    wrongUp.Down(1, 100, 0, {0, 1});
    LogCapture log;
    EXPECT_EQ(g_.Up(5, 0, 0, {0, 5}), STATE_ERROR);  // no down record for finger 5
    EXPECT_TRUE(log.Contains("AlgoTwoFingersDownState",
                             "in HandleUpEvent, MAP store error,store wrong DownEvent"));

    EXPECT_EQ(lift.Up(1, 100, 0, {0, 1}), STATE_ONE_FINGER_DOWN);
    EXPECT_EQ(lift.StoreSize(), 1U);
    EXPECT_TRUE(log.Contains("AlgoTwoFingersDownState",
                             "in HandleUpEvent, Current state:STATE_THREE_FINGERS_DOWN,next "
                             "state:STATE_ONE_FINGER_DOWN"));

    EXPECT_EQ(wrongUp.Up(1, 100, 0, {1}), STATE_ERROR);
    EXPECT_TRUE(log.Contains("AlgoTwoFingersDownState",
                             "in HandleUpEvent, Current state:STATE_TWO_FINGERS_DOWN,next "
                             "state:STATE_ERROR",
                             LOG_LEVEL_ERROR));
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
    // Every finger moves by (dx, dy) from its down position, in `steps` equal steps.
    void SlideAll(int dx, int dy, int steps)
    {
        for (int step = 1; step <= steps; ++step) {
            for (int id = 0; id < 3; ++id) {
                g_.Move(id, 200 + 300 * id + dx * step / steps, 1000 + dy * step / steps,
                        {0, 1, 2});
            }
        }
    }
    GestureDriver g_;
};

TEST_F(ThreeFingerTest, SlideRightIsRecognisedAndReportsItsTravel)
{
    SlideAll(400, 0, 4);  // averages over slots 1..3 of three: (d1 + d2 + 0) / 3
    ASSERT_EQ(g_.State(), STATE_SLIDE);
    ASSERT_EQ(g_.Reports().size(), 1U);
    EXPECT_THAT(g_.Reports()[0],
                AllOf(IsReport(13, 1), WithStatus(1), WithDirection(3), WithMove(0.0)));
    SlideAll(500, 0, 1);
    EXPECT_EQ(GestureDriver::Report().move, 500.0);
    EXPECT_EQ(g_.Up(2, 1300, 1000, {0, 1, 2}), STATE_TWO_FINGERS_DOWN);
    EXPECT_THAT(g_.Reports().back(),
                AllOf(IsReport(13, 2), WithStatus(3), WithDirection(3), WithMove(500.0)));
    EXPECT_EQ(g_.Data().distance, 300);
}

TEST_F(ThreeFingerTest, EachDirectionIsJudgedFromTheFingersMovement)
{
    const std::pair<int, int> moves[] = {{0, -400}, {-400, 0}, {0, 400}};
    const int32_t expected[] = {0, 1, 2};
    for (int i = 0; i < 3; ++i) {
        SetUp();
        SlideAll(moves[i].first, moves[i].second, 4);
        ASSERT_EQ(g_.State(), STATE_SLIDE) << i;
        EXPECT_EQ(g_.Reports().back().direction, expected[i]);
        g_.Up(0, 0, 0, {0, 1, 2});
    }
}

TEST_F(ThreeFingerTest, AFingerFarAheadOfTheOthersEndsTheGesture)
{
    g_.Move(0, 200, 990, {0, 1, 2});  // the first move only changes state
    LogCapture log;
    EXPECT_EQ(g_.Move(0, 200, 600, {0, 1, 2}), STATE_END);
    EXPECT_TRUE(
        log.Contains("AlgoThreeFingersMoveState", "in HandleMoveEvent, Not all fingers moved"));
    EXPECT_THAT(g_.Reports(), IsEmpty());
}

TEST_F(ThreeFingerTest, FingersMovingApartEndTheGesture)
{
    g_.Move(0, 200, 1005, {0, 1, 2});
    LogCapture log;
    g_.Move(0, 200, 1010, {0, 1, 2});
    g_.Move(1, 500, 990, {0, 1, 2});
    EXPECT_EQ(g_.Move(2, 800, 1400, {0, 1, 2}), STATE_END);
    EXPECT_TRUE(log.Contains("AlgoThreeFingersMoveState",
                             "in HandleMoveEvent, sliding direction is different"));
    EXPECT_EQ(GestureDriver::Report().direction, -1);
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

TEST(ThreeFingersMoveRulesTest, DirectionsAndAverages)
{
    EXPECT_EQ(AlgoThreeFingersMoveState::JudgeDirection(300, 0), DIRECTION_RIGHT);
    EXPECT_EQ(AlgoThreeFingersMoveState::JudgeDirection(-1, 0), DIRECTION_LEFT);
    EXPECT_EQ(AlgoThreeFingersMoveState::JudgeDirection(0, 0), DIRECTION_NONE);
    EXPECT_EQ(AlgoThreeFingersMoveState::JudgeDirection(5, -5), DIRECTION_NONE);
    EXPECT_EQ(AlgoThreeFingersMoveState::JudgeDirection(1, 2), DIRECTION_DOWN);
    EXPECT_EQ(AlgoThreeFingersMoveState::JudgeDirection(1, -2), DIRECTION_UP);

    AlgoThreeFingersMoveState state;
    LogCapture log;
    EXPECT_FALSE(state.IsSameDirection({10, 20}, {DIRECTION_UP, DIRECTION_UP}));
    EXPECT_TRUE(log.Contains("AlgoThreeFingersMoveState",
                             "in IsSameDirection, Length of fingerAngles or fingerdirections is "
                             "invalid"));
    EXPECT_FALSE(state.IsSameDirection({}, {DIRECTION_UP}));
    EXPECT_TRUE(state.IsSameDirection({0, 0, 0, 9},
                                      {DIRECTION_UP, DIRECTION_UP, DIRECTION_UP, DIRECTION_LEFT}));
    EXPECT_EQ(state.GetAvgDistance(), 0);  // an empty store averages to 0

    EXPECT_EQ(AlgoSlideState::GetAvgDistance({300, 310, 320}), 310);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
