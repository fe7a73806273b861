#include "replay_options.h"

#include <gtest/gtest.h>

namespace Tarvo::Replay::Test {
namespace {

TEST(ReplayOptionsTest, RealtimeSpeedMustPaceEveryRepresentableStamp)
{
    ReplayOptions options;
    std::string error;
    ASSERT_TRUE(ReplayOptions::Parse({"--realtime=0.001", "--sync-every-record", "a.trace"},
                                     options, error))
        << error;
    EXPECT_EQ(options.speed, 0.001);
    EXPECT_TRUE(options.syncEveryRecord);
    ASSERT_TRUE(ReplayOptions::Parse({"--realtime=1e6", "a.trace"}, options, error)) << error;
    EXPECT_EQ(options.speed, 1e6);
    for (const char* speed : {"1e-300", "1e300", "inf"}) {
        EXPECT_FALSE(
            ReplayOptions::Parse({"--realtime=" + std::string(speed), "a.trace"}, options, error));
        EXPECT_EQ(error, "--realtime speed '" + std::string(speed) +
                             "' is out of range (0.001 to 1000000)");
    }
}

}  // namespace
}  // namespace Tarvo::Replay::Test
