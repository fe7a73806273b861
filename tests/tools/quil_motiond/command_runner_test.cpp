#include "command_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

namespace Tarvo::Watch {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

Quil::MotionData Pinch()
{
    Quil::MotionData data;
    data.type = 12;
    data.result = 1;
    data.status = 1;
    data.action = 0;
    data.move = 1.25;
    return data;
}

TEST(CommandRunnerTest, TheCommandFindsTheMotionInItsEnvironment)
{
    setenv("QUIL_TYPE", "stale", 1);
    const std::vector<std::string> environment = CommandRunner::Environment(Pinch());
    EXPECT_THAT(environment, Contains("QUIL_TYPE=12"));
    EXPECT_THAT(environment, Not(Contains("QUIL_TYPE=stale")));
    EXPECT_THAT(environment, Contains("QUIL_ACTION=0"));
    EXPECT_THAT(environment, Contains("QUIL_DIRECTION=-1"));
    EXPECT_THAT(environment, Contains("QUIL_ROTATE_ACTION=-1"));
    EXPECT_THAT(environment, Contains("QUIL_MOVE=1.25"));
    unsetenv("QUIL_TYPE");

    std::string error;
    EXPECT_EQ(CommandRunner({"/bin/sh", "-c", "test \"$QUIL_TYPE:$QUIL_MOVE\" = 12:1.25"})
                  .Run(Pinch(), error),
              0)
        << error;
}

TEST(CommandRunnerTest, TheStatusIsTheCommandsAndAMissingCommandIsAnError)
{
    std::string error;
    EXPECT_EQ(CommandRunner({"/bin/sh", "-c", "exit 7"}).Run(Pinch(), error), 7);
    EXPECT_EQ(CommandRunner({"/bin/sh", "-c", "kill -TERM $$"}).Run(Pinch(), error), 128 + 15);
    EXPECT_EQ(CommandRunner({"quil-no-such-command"}).Run(Pinch(), error), -1);
    EXPECT_THAT(error, HasSubstr("cannot run quil-no-such-command: No such file"));
}

}  // namespace
}  // namespace Tarvo::Watch
