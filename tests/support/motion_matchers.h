// gMock matchers that read like the domain: EXPECT_THAT(r, IsReport(3, 1)).
#pragma once

#include <gmock/gmock.h>

#include <ostream>

#include "motion_data.h"

namespace Tarvo::Quil {
inline void PrintTo(const MotionData& data, std::ostream* os)
{
    *os << data.Dump();
}
}  // namespace Tarvo::Quil

namespace Tarvo::Quil::Test {

MATCHER_P2(IsReport, type, result,
           "is a report of type " + testing::PrintToString(type) + " with result " +
               testing::PrintToString(result))
{
    return arg.type == type && arg.result == result;
}

MATCHER_P(WithStatus, status, "with status " + testing::PrintToString(status))
{
    return arg.status == status;
}

MATCHER_P(WithAction, action, "with action " + testing::PrintToString(action))
{
    return arg.action == action;
}

MATCHER_P(WithMove, move, "with move " + testing::PrintToString(move))
{
    return arg.move == move;
}

}  // namespace Tarvo::Quil::Test
