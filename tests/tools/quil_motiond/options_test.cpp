// The command lines of quil-motiond and quil-watch.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motiond_options.h"
#include "watch_options.h"

namespace Tarvo {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(MotiondOptionsTest, EveryOptionIsRead)
{
    Motiond::MotiondOptions options;
    std::string error;
    ASSERT_TRUE(Motiond::MotiondOptions::Parse({}, options, error)) << error;
    EXPECT_FALSE(options.session) << "the system bus by default";
    EXPECT_EQ(options.gestureGroup, "quil-gestures");
    ASSERT_TRUE(Motiond::MotiondOptions::Parse(
        {"--session", "--replay", "a.trace", "--gesture-group=video", "--display", "1080x2340",
         "--log", "warn", "--library-log", "debug", "--sysfs-root", "/s", "--touch-device",
         "/dev/input/event3", "--plugin", "p.so"},
        options, error))
        << error;
    EXPECT_TRUE(options.session);
    EXPECT_EQ(options.replay, "a.trace");
    EXPECT_EQ(options.gestureGroup, "video");
    EXPECT_EQ(options.displayWidth, 1080);
    EXPECT_EQ(options.logLevel, 5);
    EXPECT_EQ(options.libraryLogLevel, 3);
    EXPECT_EQ(options.sysfsRoot, "/s");
    EXPECT_EQ(options.touchDevice, "/dev/input/event3");
    EXPECT_EQ(options.plugin, "p.so");
}

// The mistakes quil-motiond finds itself; the shared parser's have tests of their own.
TEST(MotiondOptionsTest, MistakesAreNamed)
{
    for (const auto& [args, message] :
         std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{"--gesture-group", "a:b"}, "group 'a:b' is not a group name"},
             {{"--gesture-group="}, "is not a group name"},
             {{"extra"}, "unexpected argument 'extra'"}}) {
        Motiond::MotiondOptions options;
        std::string error;
        EXPECT_FALSE(Motiond::MotiondOptions::Parse(args, options, error)) << args[0];
        EXPECT_THAT(error, HasSubstr(message)) << args[0];
    }
}

Watch::WatchOptions ParseWatch(const std::vector<std::string>& args)
{
    Watch::WatchOptions options;
    std::string error;
    EXPECT_TRUE(Watch::WatchOptions::Parse(args, options, error)) << error;
    return options;
}

TEST(WatchOptionsTest, MonitorTakesTypesByNumberOrName)
{
    const Watch::WatchOptions all = ParseWatch({"monitor"});
    EXPECT_EQ(all.mode, Watch::WatchOptions::Mode::MONITOR);
    EXPECT_TRUE(all.types.empty());
    EXPECT_FALSE(all.session);
    const Watch::WatchOptions some = ParseWatch({"--session", "monitor", "--json", "flip,4,pinch"});
    EXPECT_THAT(some.types, ElementsAre(3, 4, 12));
    EXPECT_TRUE(some.json);
    EXPECT_TRUE(some.session);
}

TEST(WatchOptionsTest, OnTakesATypeAResultAndTheCommandAfterTheDashes)
{
    const Watch::WatchOptions flip =
        ParseWatch({"on", "flip:1", "--", "pactl", "set-sink-mute", "--", "-1"});
    EXPECT_EQ(flip.mode, Watch::WatchOptions::Mode::ON);
    EXPECT_THAT(flip.types, ElementsAre(3));
    EXPECT_EQ(flip.result, 1);
    EXPECT_THAT(flip.command, ElementsAre("pactl", "set-sink-mute", "--", "-1"));
    const Watch::WatchOptions any = ParseWatch({"on", "12", "--", "true"});
    EXPECT_THAT(any.types, ElementsAre(12));
    EXPECT_FALSE(any.result.has_value());
}

TEST(WatchOptionsTest, MistakesAreNamed)
{
    for (const auto& [args, message] :
         std::vector<std::pair<std::vector<std::string>, std::string>>{
             {{}, "say what to do: monitor or on"},
             {{"watch"}, "unknown command 'watch'"},
             {{"monitor", "3", "4"}, "unexpected argument '4'"},
             {{"monitor", "5"}, "monitor "},
             {{"monitor", "--", "ls"}, "monitor runs no command"},
             {{"on", "flip"}, "'on' needs a command after --"},
             {{"on", "--", "ls"}, "'on' needs a motion type"},
             {{"on", "3,4", "--", "ls"}, "'on' takes one motion type"},
             {{"on", "flip:x", "--", "ls"}, "result 'x'"},
             {{"on", "flip", "ls", "--", "ls"}, "the command goes after --"},
             {{"--json", "on", "3", "--", "ls"}, "--json is for monitor"}}) {
        Watch::WatchOptions options;
        std::string error;
        EXPECT_FALSE(Watch::WatchOptions::Parse(args, options, error))
            << (args.empty() ? "" : args[0]);
        EXPECT_THAT(error, HasSubstr(message)) << (args.empty() ? "" : args[0]);
    }
}

}  // namespace
}  // namespace Tarvo
