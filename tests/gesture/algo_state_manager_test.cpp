// The machine itself: where gestures start, where broken input waits, and what it does
// with events and transitions outside the states.
#include "algo_state_manager.h"

#include <gtest/gtest.h>

#include <climits>

#include "gesture_driver.h"

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

// Plain distances, angles and scales are in every gesture trace; these are the edges.
TEST(GestureGeometryTest, ExtremesSaturateAndShortListsMeasureZero)
{
    auto pair = [](int32_t x0, int32_t y0, int32_t x1, int32_t y1) {
        return std::vector<PointerEvent>{PointerEvent{0, 2, x0, y0, {}},
                                         PointerEvent{1, 2, x1, y1, {}}};
    };
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(7, 7, 7, 7)), 0);
    EXPECT_EQ(AlgoGestureState::GetDistance(pair(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX)),
              INT32_MAX);
    EXPECT_EQ(AlgoGestureState::GetAngle(pair(INT32_MIN, 0, INT32_MAX, 0)), 0);
    EXPECT_EQ(AlgoGestureState::GetDistance(std::vector<PointerEvent>{}), 0);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
