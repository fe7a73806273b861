// The machine itself: where gestures start, where broken input waits, and what it does
// with events and transitions outside the states.
#include "algo_state_manager.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

#include "gesture_driver.h"
#include "log_capture.h"

namespace Tarvo::Quil::Test {
namespace {

struct Step {
    int32_t action;
    int32_t id;
    std::vector<int32_t> ids;
    States next;
};

// Each sequence from a fresh machine; every event's resulting state is checked.
TEST(IdleErrorStateTest, StartsOnALoneFingerZeroAndErrorWaitsForTheLastFinger)
{
    const std::vector<std::vector<Step>> sequences = {
        {{2, 0, {0, 1}, STATE_IDLE},  // several fingers at once: ignored
         {2, 0, {0}, STATE_ONE_FINGER_DOWN}},
        {{2, 0, {0}, STATE_ONE_FINGER_DOWN}, {4, 0, {0}, STATE_IDLE}},  // a tap
        // Foreign fingers, moves and ups in idle are errors; a lone lift clears them.
        {{2, 3, {3}, STATE_ERROR},
         {4, 3, {3}, STATE_IDLE},
         {3, 0, {0}, STATE_ERROR},
         {4, 0, {0}, STATE_IDLE},
         {4, 0, {0}, STATE_ERROR}},
        // Error stays through moves, downs and ups of several fingers, and a lone
        // finger other than 0; the last finger up or a lone finger 0 leaves it.
        {{3, 0, {0, 1}, STATE_ERROR},
         {3, 1, {0, 1}, STATE_ERROR},
         {2, 2, {0, 1, 2}, STATE_ERROR},
         {4, 2, {0, 1, 2}, STATE_ERROR},
         {2, 5, {5}, STATE_ERROR},
         {4, 5, {5}, STATE_IDLE}},
        {{4, 1, {1, 2}, STATE_ERROR}, {2, 0, {0}, STATE_ONE_FINGER_DOWN}},
        // Pointer actions other than down, move and up.
        {{1, 0, {0}, STATE_ERROR}, {5, 0, {0}, STATE_ERROR}},
    };
    for (size_t s = 0; s < sequences.size(); ++s) {
        GestureDriver g;
        for (size_t e = 0; e < sequences[s].size(); ++e) {
            const Step& step = sequences[s][e];
            EXPECT_EQ(g.Feed(PointerEvent{step.id, step.action, 100, 200, step.ids}), step.next)
                << "sequence " << s << ", event " << e;
        }
        EXPECT_EQ(g.StoreSize(), g.State() == STATE_ONE_FINGER_DOWN ? 1U : 0U) << s;
    }
}

TEST(AlgoStateManagerTest, StayingKeepsTheStateObjectAndItsStore)
{
    GestureDriver g;
    g.Down(0, 10, 20, {0});
    auto object = g.Manager().GetCurrentState();
    g.Manager().TransformState(STATE_ONE_FINGER_DOWN);
    EXPECT_EQ(g.Manager().GetCurrentState(), object);
    ASSERT_EQ(g.StoreSize(), 1U);
    EXPECT_EQ(g.Data().pointerEvents.begin()->second.x, 10);
}

// A reused state object must enter each time as a new one would: every state, every
// member (the three-finger move state keeps travels of its own), through gestures cut
// short in each state. Compared with a manager that makes a new object per transition:
// its reports, states and log lines must be the same.
TEST(AlgoStateManagerTest, ReusedStateObjectsBehaveAsNewOnes)
{
    auto touch = [](int32_t action, int32_t id, int32_t x, int32_t y, std::vector<int32_t> ids) {
        return PointerEvent{id, action, x, y, std::move(ids)};
    };
    // Three fingers down, moving `dy` in `steps` rounds, then (optionally) lifted.
    auto three = [&touch](int32_t x, int32_t dy, bool lift, int32_t steps = 1) {
        std::vector<PointerEvent> events = {touch(2, 0, x, 900, {0}),
                                            touch(2, 1, x + 200, 900, {0, 1}),
                                            touch(2, 2, x + 400, 900, {0, 1, 2})};
        for (int32_t step = 1; step <= steps; ++step) {
            for (int32_t f = 0; f < 3; ++f) {
                events.push_back(touch(3, f, x + 200 * f, 900 + dy * step / steps, {0, 1, 2}));
            }
        }
        if (lift) {
            events.push_back(touch(4, 2, x + 400, 900 + dy, {0, 1, 2}));
            events.push_back(touch(4, 1, x + 200, 900 + dy, {0, 1}));
            events.push_back(touch(4, 0, x, 900 + dy, {0}));
        }
        return events;
    };
    std::vector<PointerEvent> events = three(100, 50, true);  // every finger moved, no slide
    for (const PointerEvent& event : three(150, 0, false)) {
        if (event.pointerAction == 2) {
            events.push_back(event);  // the same fingers down again, none has moved
        }
    }
    events.push_back(touch(3, 0, 150, 910, {0, 1, 2}));
    events.push_back(touch(3, 0, 150, 1300, {0, 1, 2}));  // finger 0 alone goes far
    events.push_back(touch(9, 0, 0, 0, {0}));
    for (const PointerEvent& event : three(300, 400, true, 4)) {
        events.push_back(event);  // a real slide
    }
    events.push_back(touch(2, 0, 20, 2700, {0}));
    events.push_back(touch(3, 0, 20, 2500, {0}));  // a swipe up from the bottom edge
    events.push_back(touch(2, 1, 500, 900, {0, 1}));
    events.push_back(touch(3, 1, 900, 900, {0, 1}));
    events.push_back(touch(4, 1, 900, 900, {0, 1}));
    events.push_back(touch(4, 0, 20, 2500, {0}));

    Host::HostPlatform::Reset();
    auto play = [&events](StateObjects objects) {
        GestureDriver::ResetReport();
        auto callback = std::make_shared<RecordingCallback>();
        LogCapture log;
        AlgoStateManager manager(objects);
        manager.RegisterCallback(callback);
        std::string seen;
        for (const PointerEvent& event : events) {
            manager.TransformState(manager.EnableHandle(event));
            seen += std::to_string(manager.GetCurrentState()->GetCurrentState()) + " ";
        }
        for (const Host::LogLine& line : log.Lines()) {
            seen += "\n" + Host::FormatLogLine(line);
        }
        for (const MotionData& report : callback->Reports()) {
            seen += "\n" + report.Dump();
        }
        return seen;
    };
    const std::string fresh = play(StateObjects::FRESH);
    EXPECT_EQ(play(StateObjects::REUSED), fresh);
    EXPECT_NE(fresh.find("Not all fingers moved"), std::string::npos);
    EXPECT_NE(fresh.find("type:13 result:1 status:1"), std::string::npos);
}

TEST(AlgoStateManagerTest, TransitionOutsideTheStatesRecoversFromIdle)
{
    GestureDriver g;
    g.Manager().TransformState(static_cast<States>(99));
    EXPECT_EQ(g.Manager().GetCurrentState(), nullptr);
    EXPECT_EQ(g.Down(0, 10, 20, {0}), STATE_IDLE);
    EXPECT_EQ(g.Down(0, 10, 20, {0}), STATE_ONE_FINGER_DOWN);
}

TEST(AlgoStateManagerTest, WithoutACallbackGesturesAreOnlyLogged)
{
    GestureDriver g;
    g.Manager().RegisterCallback(nullptr);
    g.Down(0, 50, 1000, {0});
    g.Move(0, 100, 1000, {0});
    EXPECT_EQ(g.Move(0, 150, 1000, {0}), STATE_SWIPE);
    EXPECT_TRUE(g.Reports().empty());
}

TEST(GestureGeometryTest, DistanceAngleAndScale)
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

    EXPECT_DOUBLE_EQ(AlgoGestureState::GetScale(150, 100), 1.5);
    EXPECT_TRUE(std::isinf(AlgoGestureState::GetScale(400, 0)));
    EXPECT_TRUE(std::isnan(AlgoGestureState::GetScale(0, 0)));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
