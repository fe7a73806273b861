#include "replay_options.h"

#include <gtest/gtest.h>

namespace Tarvo::Replay::Test {
namespace {

std::string ErrorOf(const std::vector<std::string>& args)
{
    ReplayOptions options;
    std::string error;
    EXPECT_FALSE(ReplayOptions::Parse(args, options, error));
    return error;
}

TEST(ReplayOptionsTest, RealtimeSpeedMustPaceEveryRepresentableStamp)
{
    ReplayOptions options;
    std::string error;
    ASSERT_TRUE(ReplayOptions::Parse({"--realtime=0.001", "a.trace"}, options, error)) << error;
    EXPECT_EQ(options.speed, 0.001);
    ASSERT_TRUE(ReplayOptions::Parse({"--realtime=1e6", "a.trace"}, options, error)) << error;
    EXPECT_EQ(options.speed, 1e6);
    EXPECT_EQ(ErrorOf({"--realtime=1e-300", "a.trace"}),
              "--realtime speed '1e-300' is out of range (0.001 to 1000000)");
    EXPECT_EQ(ErrorOf({"--realtime=1e300", "a.trace"}),
              "--realtime speed '1e300' is out of range (0.001 to 1000000)");
    EXPECT_EQ(ErrorOf({"--realtime=inf", "a.trace"}),
              "--realtime speed 'inf' is out of range (0.001 to 1000000)");
}

TEST(ReplayOptionsTest, SyncEveryRecordIsAnOption)
{
    ReplayOptions options;
    std::string error;
    ASSERT_TRUE(ReplayOptions::Parse({"a.trace"}, options, error)) << error;
    EXPECT_FALSE(options.syncEveryRecord);
    ASSERT_TRUE(ReplayOptions::Parse({"--sync-every-record", "a.trace"}, options, error));
    EXPECT_TRUE(options.syncEveryRecord);
}

}  // namespace
}  // namespace Tarvo::Replay::Test
