#include "motion_data.h"

#include <gtest/gtest.h>

#include "pointer_event.h"

namespace Tarvo::Quil::Test {
namespace {

TEST(RecordDumpTest, MotionDataPrintsEveryFieldInOrder)
{
    MotionData data;
    EXPECT_EQ(data.Dump(),
              "type:-1 result:-1 status:-1 action:-1 direction:-1 rotateAction:-1 move:0.000000");
    data = MotionData{12, 1, 2, 0, 3, -1, 1.5};
    EXPECT_EQ(data.Dump(),
              "type:12 result:1 status:2 action:0 direction:3 rotateAction:-1 move:1.500000");
}

TEST(RecordDumpTest, PointerEventPrintsTheNumberOfPointers)
{
    PointerEvent event{1, 2, -30, 4000, {0, 1, 2}};
    EXPECT_EQ(event.Dump(), "pointerId:1 pointerAction:2 x:-30 y:4000 size:3");
    event.pointerIds.clear();
    EXPECT_EQ(event.Dump(), "pointerId:1 pointerAction:2 x:-30 y:4000 size:0");
}

}  // namespace
}  // namespace Tarvo::Quil::Test
