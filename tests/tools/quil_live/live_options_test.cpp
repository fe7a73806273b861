// quil-live's command line.
#include "live_options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarvo::Live {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(LiveOptionsTest, DefaultsLeaveTheDeviceToDecide)
{
    LiveOptions options;
    std::string error;
    ASSERT_TRUE(LiveOptions::Parse({}, options, error));
    EXPECT_THAT(options.enable, IsEmpty());
    EXPECT_EQ(options.displayWidth, 1344);
    EXPECT_EQ(options.displayHeight, 2772);
    EXPECT_EQ(options.logLevel, 8);
    EXPECT_EQ(options.duration, 0.0);
}

TEST(LiveOptionsTest, ValuesComeSeparateOrAfterAnEqualsSign)
{
    LiveOptions options;
    std::string error;
    ASSERT_TRUE(
        LiveOptions::Parse({"--enable", "3,4,9", "--display=1080x2400", "--json", "--record",
                            "out.trace", "--sysfs-root=/tmp/sys", "--touch-device",
                            "/dev/input/event5", "--log", "debug", "--duration", "2.5", "--syslog"},
                           options, error))
        << error;
    EXPECT_THAT(options.enable, ElementsAre(3, 4, 9));
    EXPECT_EQ(options.displayWidth, 1080);
    EXPECT_EQ(options.displayHeight, 2400);
    EXPECT_TRUE(options.json);
    EXPECT_TRUE(options.syslog);
    EXPECT_EQ(options.record, "out.trace");
    EXPECT_EQ(options.sysfsRoot, "/tmp/sys");
    EXPECT_EQ(options.touchDevice, "/dev/input/event5");
    EXPECT_EQ(options.logLevel, 3);
    EXPECT_EQ(options.duration, 2.5);
}

TEST(LiveOptionsTest, BadValuesAreNamed)
{
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--enable", "3,,4"}, "--enable: expected motion types like 3,4,9, got '3,,4'"},
        {{"--enable", "99999999999"},
         "--enable: expected motion types like 3,4,9, got '99999999999'"},
        {{"--display", "0x100"},
         "--display: expected WIDTHxHEIGHT in pixels, like 1080x2400, got '0x100'"},
        {{"--duration", "nan"}, "--duration: expected a positive number of seconds, got 'nan'"},
        {{"--record", ""}, "--record: expected a path, got ''"},
        {{"--touch-device"}, "--touch-device needs a value"},
        {{"stray"}, "unknown argument 'stray'"},
    };
    for (const auto& [args, message] : cases) {
        LiveOptions options;
        std::string error;
        EXPECT_FALSE(LiveOptions::Parse(args, options, error)) << args[0];
        EXPECT_EQ(error, message);
    }
}

}  // namespace
}  // namespace Tarvo::Live
