// Every program's command line goes through one parser: the same forms accepted, the
// same words for every mistake.
#include "option_parser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motion_needs.h"
#include "sensor_service_client.h"

namespace Tarvo::Tools {
namespace {

using ::testing::ElementsAre;

struct Parsed {
    bool ok = false;
    std::string error;
    bool json = false;
    int level = 8;
    std::optional<std::optional<std::string>> speed;
    std::string path;
    std::vector<std::string> operands;
};

Parsed Parse(const std::vector<std::string>& args)
{
    Parsed result;
    OptionParser parser;
    parser.Flag("--json", result.json);
    parser.Value("--log", "a level", [&result](const std::string& value, std::string& problem) {
        return ParseLogLevel(value, result.level, problem);
    });
    parser.OptionalValue("--realtime",
                         [&result](const std::optional<std::string>& value, std::string&) {
                             result.speed = value;
                             return true;
                         });
    parser.Path("--record", result.path);
    result.ok = parser.Parse(args, result.error);
    result.operands = parser.Operands();
    return result;
}

TEST(OptionParserTest, FormsAndOperands)
{
    const Parsed parsed = Parse({"a", "--log", "debug", "-", "--json", "--realtime=2", "b",
                                 "--record", "a b.trace", "--", "--json"});
    ASSERT_TRUE(parsed.ok) << parsed.error;
    EXPECT_EQ(parsed.path, "a b.trace");  // a path is taken as given
    EXPECT_TRUE(parsed.json);
    EXPECT_EQ(parsed.level, 3);
    EXPECT_EQ(parsed.speed, std::optional<std::string>("2"));
    EXPECT_THAT(parsed.operands, ElementsAre("a", "-", "b", "--json"));
    EXPECT_EQ(Parse({"--log=warn"}).level, 5);
    const Parsed bare = Parse({"--realtime", "x"});  // a value only ever after "="
    ASSERT_TRUE(bare.speed.has_value());
    EXPECT_FALSE(bare.speed->has_value());
    EXPECT_THAT(bare.operands, ElementsAre("x"));
}

TEST(OptionParserTest, EveryMistakeInTheSameWords)
{
    EXPECT_EQ(Parse({"--log"}).error, "--log needs a level");
    EXPECT_EQ(Parse({"--record"}).error, "--record needs a path");
    EXPECT_THAT(Parse({"--record="}).error, ::testing::HasSubstr("path '' is empty"));
}

TEST(OptionValuesTest, SizesNumbersAndTypeLists)
{
    std::string problem;
    int32_t width = 0;
    int32_t height = 0;
    EXPECT_TRUE(ParseDisplaySize("1080x2400", width, height, problem));
    EXPECT_EQ(width, 1080);
    EXPECT_FALSE(ParseDisplaySize("1080", width, height, problem));
    EXPECT_FALSE(ParseDisplaySize("0x10", width, height, problem));
    EXPECT_EQ(problem, "size '0x10' is not WIDTHxHEIGHT in pixels, like 1344x2772");

    double seconds = 0;
    EXPECT_FALSE(ParseNumber("nan", 1, 2, seconds, problem, "duration"));
    EXPECT_EQ(problem, "duration 'nan' is out of range (1 to 2)");
    EXPECT_FALSE(ParseNumber("1s", 1, 2, seconds, problem, "duration"));
    EXPECT_EQ(problem, "duration '1s' is not a number");
    long long count = 0;
    EXPECT_FALSE(ParseInteger("99999999999999999999", 1, 5, count, problem, "count"));

    std::vector<int32_t> types;
    EXPECT_TRUE(ParseMotionTypes("3,pinch,9,3,slide", types, problem)) << problem;
    EXPECT_THAT(types, ElementsAre(3, 12, 9, 13));
    for (const char* bad : {"99", "3,", "flips", "5", ""}) {
        EXPECT_FALSE(ParseMotionTypes(bad, types, problem)) << bad;
    }
    EXPECT_EQ(MotionTypeName(4), "rotate");
    EXPECT_EQ(MotionTypeName(99), "99");
}

TEST(MotionNeedsTest, WhatADeviceCanRecognise)
{
    EXPECT_THAT(MotionNeeds::Recognisable({SENSOR_TYPE_ID_ACCELEROMETER}, false),
                ElementsAre(0, 3, 4, 6));
    EXPECT_THAT(
        MotionNeeds::Recognisable({SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_PROXIMITY}, true),
        ElementsAre(0, 2, 3, 4, 6, 9, 10, 11, 12, 13));
    EXPECT_TRUE(MotionNeeds::Recognisable({}, false).empty());
}

}  // namespace
}  // namespace Tarvo::Tools
