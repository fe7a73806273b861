// The platform log on Linux, through the print interface the library calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "linux_platform.h"
#include "platform_log.h"

namespace Tarvo::Linux {
namespace {

using ::testing::ElementsAre;

class LinuxLogTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        LinuxPlatform::SetLogSink([this](int, const std::string& line) { lines_.push_back(line); });
    }
    void TearDown() override
    {
        LinuxPlatform::SetLogSink({});
        LinuxPlatform::SetLogLevel(8);
    }

    std::vector<std::string> lines_;
};

TEST_F(LinuxLogTest, TheLevelFilterPassesThatLevelAndAboveAndLinesAreRendered)
{
    LinuxPlatform::SetLogLevel(LOG_LEVEL_INFO);
    EXPECT_FALSE(PlatformLogIsLoggable(0xD002210, "T", LOG_LEVEL_DEBUG));
    EXPECT_TRUE(PlatformLogIsLoggable(0xD002210, "T", LOG_LEVEL_INFO));
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_DEBUG, 0xD002210, "T", "hidden");
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_WARN, 0xD002210, "T", "shown");

    LinuxPlatform::SetLogLevel(8);
    EXPECT_FALSE(PlatformLogIsLoggable(0xD002210, "T", LOG_LEVEL_FATAL));
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_FATAL, 0xD002210, "T", "off");

    EXPECT_THAT(lines_, ElementsAre("W D002210/T: shown"));
    lines_.clear();

    // Lines are rendered without the privacy flags.
    LinuxPlatform::SetLogLevel(LOG_LEVEL_DEBUG);
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_ERROR, 0xD002210, "AlgoFlip",
                     "in %{public}s, x:%{private}d %s%%", "Enable", 3, "y");
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_DEBUG, 0xD002210, nullptr, "no tag");
    PlatformLogPrint(LOG_TYPE_CORE, LOG_LEVEL_INFO, 0xD002210, "T", nullptr);
    EXPECT_THAT(lines_, ElementsAre("E D002210/AlgoFlip: in Enable, x:3 y%", "D D002210/: no tag"));
}

}  // namespace
}  // namespace Tarvo::Linux
