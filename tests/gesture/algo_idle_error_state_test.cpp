// Idle and error: where every gesture starts and where broken input waits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "algo_state_manager.h"
#include "host_platform.h"
#include "log_capture.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;

PointerEvent Touch(int32_t action, int32_t id, std::vector<int32_t> ids)
{
    return PointerEvent{id, action, 100, 200, std::move(ids)};
}

class IdleErrorStateTest : public testing::Test {
protected:
    void SetUp() override { Host::HostPlatform::Reset(); }

    States Feed(const PointerEvent& event)
    {
        manager_.TransformState(manager_.EnableHandle(event));
        return manager_.GetCurrentState()->GetCurrentState();
    }
    size_t StoreSize() const { return manager_.GetCurrentState()->Out().pointerEvents.size(); }

    AlgoStateManager manager_;
};

TEST_F(IdleErrorStateTest, IdleStartsOnALoneFingerZero)
{
    LogCapture log;
    EXPECT_EQ(Feed(Touch(2, 0, {0})), STATE_ONE_FINGER_DOWN);
    EXPECT_EQ(StoreSize(), 1U);
    EXPECT_THAT(log.Messages("AlgoIdleState"),
                ElementsAre("in HandleDownEvent, AlgoIdleState ENTER",
                            "in HandleDownEvent, Current state:STATE_IDLE,next "
                            "state:STATE_ONE_FINGER_DOWN"));
}

TEST_F(IdleErrorStateTest, IdleIgnoresADownOfSeveralFingersSilently)
{
    LogCapture log;
    EXPECT_EQ(Feed(Touch(2, 0, {0, 1})), STATE_IDLE);
    EXPECT_THAT(log.Messages("AlgoIdleState"),
                ElementsAre("in HandleDownEvent, AlgoIdleState ENTER"));
}

TEST_F(IdleErrorStateTest, IdleRejectsForeignFingersMovesAndUps)
{
    LogCapture log;
    EXPECT_EQ(Feed(Touch(2, 3, {3})), STATE_ERROR);
    EXPECT_EQ(Feed(Touch(4, 3, {3})), STATE_IDLE);  // lifting it clears the error
    EXPECT_EQ(Feed(Touch(3, 0, {0})), STATE_ERROR);
    EXPECT_EQ(Feed(Touch(4, 0, {0})), STATE_IDLE);
    EXPECT_EQ(Feed(Touch(4, 0, {0})), STATE_ERROR);
    const std::string wrong = "The wrong input data,pointerId:0,pointerAction:";
    const std::string toError = "Current state:STATE_IDLE,next state:STATE_ERROR";
    EXPECT_THAT(log.Messages("AlgoIdleState"),
                ElementsAre("in HandleDownEvent, AlgoIdleState ENTER",
                            "in HandleDownEvent, The wrong input data,pointerId:3,pointerAction:2",
                            "in HandleDownEvent, " + toError,
                            "in HandleMoveEvent, " + toError,  // move: transition line first
                            "in HandleMoveEvent, " + wrong + "3",
                            "in HandleUpEvent, " + wrong + "4", "in HandleUpEvent, " + toError));
}

TEST_F(IdleErrorStateTest, ErrorWaitsForTheLastFingerOrAFreshStart)
{
    Feed(Touch(3, 0, {0, 1}));
    LogCapture log;
    EXPECT_EQ(Feed(Touch(3, 1, {0, 1})), STATE_ERROR);
    EXPECT_EQ(Feed(Touch(2, 2, {0, 1, 2})), STATE_ERROR);
    EXPECT_EQ(Feed(Touch(4, 2, {0, 1, 2})), STATE_ERROR);
    EXPECT_EQ(Feed(Touch(2, 5, {5})), STATE_ERROR);
    EXPECT_EQ(Feed(Touch(4, 5, {5})), STATE_IDLE);
    EXPECT_THAT(log.Messages("AlgoErrorState"),
                ElementsAre("in HandleMoveEvent, Current state:STATE_ERROR",
                            "in HandleDownEvent, AlgoErrorState enter",
                            "in HandleDownEvent, Current state:STATE_ERROR",
                            "in HandleUpEvent, Current state:STATE_ERROR",
                            "in HandleDownEvent, AlgoErrorState enter",
                            "in HandleDownEvent, The wrong input data,pointerId:5,pointerAction:2",
                            "in HandleDownEvent, Current state:STATE_ERROR",
                            "in HandleUpEvent, Current state:STATE_ERROR,next state:STATE_IDLE"));
    EXPECT_TRUE(log.Contains("AlgoErrorState", "in HandleUpEvent, Current state:STATE_ERROR",
                             LOG_LEVEL_ERROR));
}

TEST_F(IdleErrorStateTest, ErrorRestartsOnALoneFingerZero)
{
    Feed(Touch(4, 1, {1, 2}));
    ASSERT_EQ(Feed(Touch(2, 0, {0})), STATE_ONE_FINGER_DOWN);
    EXPECT_EQ(StoreSize(), 1U);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
