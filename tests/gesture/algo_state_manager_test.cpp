#include "algo_state_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>

#include "host_platform.h"
#include "log_capture.h"
#include "motion_matchers.h"
#include "recording_callback.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

PointerEvent Touch(int32_t action, int32_t id, int32_t x, int32_t y, std::vector<int32_t> ids)
{
    return PointerEvent{id, action, x, y, std::move(ids)};
}

// Exposes the base's report machinery to the tests.
class ProbeState : public AlgoGestureState {
public:
    using AlgoGestureState::reportInfo_;
};

class AlgoStateManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        Host::HostPlatform::Reset();
        manager_.RegisterCallback(callback_);
        ProbeState().ResetReportInfo();
    }

    States Feed(const PointerEvent& event)
    {
        manager_.TransformState(manager_.EnableHandle(event));
        return Current();
    }
    States Current() const { return manager_.GetCurrentState()->GetCurrentState(); }

    std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
    AlgoStateManager manager_;
};

TEST_F(AlgoStateManagerTest, StartsIdleAndMakesEveryStateOnDemand)
{
    EXPECT_EQ(Current(), STATE_IDLE);
    for (int value = STATE_IDLE; value <= STATE_ERROR; ++value) {
        EXPECT_NE(manager_.CreateState(static_cast<States>(value)), nullptr) << value;
    }
    LogCapture log;
    EXPECT_EQ(manager_.CreateState(static_cast<States>(12)), nullptr);
    EXPECT_TRUE(log.Contains("AlgoStateManager", "in CreateState, Unknown state", LOG_LEVEL_ERROR));
}

TEST_F(AlgoStateManagerTest, StoreTravelsAndStayingKeepsTheStateObject)
{
    Feed(Touch(2, 0, 10, 20, {0}));
    ASSERT_EQ(Current(), STATE_ONE_FINGER_DOWN);
    auto object = manager_.GetCurrentState();
    const PointerData data = object->Out();
    ASSERT_EQ(data.pointerEvents.size(), 1U);
    EXPECT_EQ(data.pointerEvents.begin()->second.x, 10);

    manager_.TransformState(STATE_ONE_FINGER_DOWN);
    EXPECT_EQ(manager_.GetCurrentState(), object);
}

// State objects are reused from gesture to gesture: what one gesture stored must not
// show up when the next enters the same states.
TEST_F(AlgoStateManagerTest, ReenteredStatesHoldOnlyWhatWasHandedOver)
{
    const std::vector<PointerEvent> gesture = {
        Touch(2, 0, 100, 900, {0}),       Touch(3, 0, 140, 900, {0}),
        Touch(2, 1, 400, 900, {0, 1}),    Touch(3, 1, 450, 950, {0, 1}),
        Touch(2, 2, 700, 900, {0, 1, 2}), Touch(3, 2, 700, 990, {0, 1, 2}),
        Touch(4, 2, 700, 990, {0, 1, 2}), Touch(4, 1, 450, 950, {0, 1}),
        Touch(4, 0, 140, 900, {0})};
    auto trace = [](AlgoStateManager& manager, const std::vector<PointerEvent>& events) {
        std::vector<std::vector<int32_t>> steps;
        for (const PointerEvent& event : events) {
            manager.TransformState(manager.EnableHandle(event));
            std::vector<int32_t> step = {manager.GetCurrentState()->GetCurrentState()};
            for (const auto& [key, record] : manager.GetCurrentState()->Out().pointerEvents) {
                step.insert(step.end(), {key.pointerId, key.pointerAction, record.x, record.y});
            }
            steps.push_back(step);
        }
        return steps;
    };
    // Some other gesture first, cut short by a wrong action, then the gesture itself.
    trace(manager_, {Touch(2, 0, 10, 20, {0}), Touch(2, 1, 30, 40, {0, 1}),
                     Touch(3, 1, 35, 45, {0, 1}), Touch(9, 0, 0, 0, {0})});
    trace(manager_, {Touch(4, 1, 35, 45, {0, 1}), Touch(4, 0, 10, 20, {0})});
    AlgoStateManager fresh;
    EXPECT_EQ(trace(manager_, gesture), trace(fresh, gesture));
}

TEST_F(AlgoStateManagerTest, UnknownPointerActionLeadsToError)
{
    LogCapture log;
    EXPECT_EQ(Feed(Touch(1, 0, 0, 0, {0})), STATE_ERROR);
    EXPECT_TRUE(log.Contains("AlgoGestureState", "in HandlePointerEvent, Current pointerAction:1",
                             LOG_LEVEL_ERROR));
    EXPECT_EQ(Feed(Touch(5, 0, 0, 0, {0})), STATE_ERROR);
}

TEST_F(AlgoStateManagerTest, TransitionOutsideTheStatesRecoversFromIdle)
{
    LogCapture log;
    manager_.TransformState(static_cast<States>(99));
    EXPECT_EQ(manager_.GetCurrentState(), nullptr);
    EXPECT_TRUE(log.Contains("AlgoStateManager", "in TransformState, currentState_ is nullptr"));
    EXPECT_EQ(Feed(Touch(2, 0, 10, 20, {0})), STATE_IDLE);
    EXPECT_EQ(Feed(Touch(2, 0, 10, 20, {0})), STATE_ONE_FINGER_DOWN);
}

TEST_F(AlgoStateManagerTest, ReportsWithholdInProgressAndFinishResetsAllButType)
{
    ProbeState state;
    ProbeState::reportInfo_ = MotionData{10, 1, 1, -1, 3, -1, 100.0};
    state.Report();
    ProbeState::reportInfo_.status = 2;
    LogCapture log;
    state.Report();
    EXPECT_TRUE(log.Contains("AlgoGestureState",
                             "in Report, type:10 result:1 status:2 action:-1 direction:3 "
                             "rotateAction:-1 move:100.000000"));
    state.ReportFinishInfo();
    EXPECT_THAT(callback_->Reports(),
                ElementsAre(testing::AllOf(IsReport(10, 1), WithStatus(1)),
                            testing::AllOf(IsReport(10, 2), WithStatus(3), WithMove(100.0))));
    const MotionData& after = AlgoGestureState::GetReportInfo();
    EXPECT_EQ(after.Dump(),
              "type:10 result:-1 status:-1 action:-1 direction:-1 rotateAction:-1 "
              "move:0.000000");
}

TEST_F(AlgoStateManagerTest, ReportWithoutCallbackOnlyLogs)
{
    ProbeState state;
    state.RegisterCallback(nullptr);
    LogCapture log;
    state.Report();
    EXPECT_TRUE(log.Contains("AlgoGestureState", "in Report, callbackImpl_ is null"));
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST(GestureGeometryTest, DistanceAndAngleOfPairs)
{
    auto pair = [](int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
        return std::vector<PointerEvent>{PointerEvent{0, 2, x0, y0, {}},
                                         PointerEvent{1, 2, x1, y1, {}}};
    };
    EXPECT_EQ(AlgoGestureState::GetDistance(pair(0, 0, 3, 4)), 5);
    EXPECT_EQ(AlgoGestureState::GetDistance(pair(0, 0, 1, 1)), 1);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(0, 0, -10, 10)), 45);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(0, 0, 10, -10)), 45);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(0, 5, 0, -5)), 90);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(7, 7, 7, 7)), 0);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(0, 0, 300, 400)), 53);
    // Extreme coordinates saturate instead of overflowing.
    EXPECT_EQ(AlgoGestureState::GetDistance(pair(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX)),
              INT32_MAX);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(INT32_MIN, 0, INT32_MAX, 0)), 0);
    EXPECT_EQ(AlgoGestureState::GetDistance(std::vector<PointerEvent>{}), 0);
}

TEST(GestureGeometryTest, ScaleOfAZeroReferenceIsInfinite)
{
    EXPECT_DOUBLE_EQ(AlgoGestureState::GetScale(150, 100), 1.5);
    EXPECT_TRUE(std::isinf(AlgoGestureState::GetScale(400, 0)));
    EXPECT_TRUE(std::isnan(AlgoGestureState::GetScale(0, 0)));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
