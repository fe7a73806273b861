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

// A reused state object must enter each time as a new one would: every state, every
// member (the three-finger move state keeps travels of its own), through gestures cut
// short in each state. Compared with a manager that makes a new object per transition:
// its reports, states and log lines must be the same.
TEST_F(AlgoStateManagerTest, ReusedStateObjectsBehaveAsNewOnes)
{
    // Three fingers down, moving `dy` in `steps` rounds, then (optionally) lifted.
    auto three = [](int32_t x, int32_t dy, bool lift, int32_t steps = 1) {
        std::vector<PointerEvent> events = {Touch(2, 0, x, 900, {0}),
                                            Touch(2, 1, x + 200, 900, {0, 1}),
                                            Touch(2, 2, x + 400, 900, {0, 1, 2})};
        for (int32_t step = 1; step <= steps; ++step) {
            for (int32_t f = 0; f < 3; ++f) {
                events.push_back(Touch(3, f, x + 200 * f, 900 + dy * step / steps, {0, 1, 2}));
            }
        }
        if (lift) {
            events.push_back(Touch(4, 2, x + 400, 900 + dy, {0, 1, 2}));
            events.push_back(Touch(4, 1, x + 200, 900 + dy, {0, 1}));
            events.push_back(Touch(4, 0, x, 900 + dy, {0}));
        }
        return events;
    };
    std::vector<PointerEvent> events = three(100, 50, true);  // every finger moved, no slide
    for (const PointerEvent& event : three(150, 0, false)) {
        if (event.pointerAction == 2) {
            events.push_back(event);  // the same fingers down again, none has moved
        }
    }
    events.push_back(Touch(3, 0, 150, 910, {0, 1, 2}));
    events.push_back(Touch(3, 0, 150, 1300, {0, 1, 2}));  // finger 0 alone goes far
    events.push_back(Touch(9, 0, 0, 0, {0}));
    for (const PointerEvent& event : three(300, 400, true, 4)) {
        events.push_back(event);  // a real slide
    }
    events.push_back(Touch(2, 0, 20, 2700, {0}));
    events.push_back(Touch(3, 0, 20, 2500, {0}));  // a swipe up from the bottom edge
    events.push_back(Touch(2, 1, 500, 900, {0, 1}));
    events.push_back(Touch(3, 1, 900, 900, {0, 1}));
    events.push_back(Touch(4, 1, 900, 900, {0, 1}));
    events.push_back(Touch(4, 0, 20, 2500, {0}));

    auto play = [&events, this](StateObjects objects) {
        ProbeState().ResetReportInfo();
        callback_->Clear();
        LogCapture log;
        AlgoStateManager manager(objects);
        manager.RegisterCallback(callback_);
        std::string seen;
        for (const PointerEvent& event : events) {
            manager.TransformState(manager.EnableHandle(event));
            seen += std::to_string(manager.GetCurrentState()->GetCurrentState()) + " ";
        }
        for (const Host::LogLine& line : log.Lines()) {
            seen += "\n" + Host::FormatLogLine(line);
        }
        for (const MotionData& report : callback_->Reports()) {
            seen += "\n" + report.Dump();
        }
        return seen;
    };
    const std::string fresh = play(StateObjects::FRESH);
    EXPECT_EQ(play(StateObjects::REUSED), fresh);
    EXPECT_THAT(fresh, testing::HasSubstr("Not all fingers moved"));
    EXPECT_THAT(fresh, testing::HasSubstr("type:13 result:1 status:1"));
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
