#include "csv_reader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "text_file.h"

namespace Tarvo::Import::Test {
namespace {

using testing::HasSubstr;

struct Result {
    bool ok = false;
    std::string error;
    CsvReader::Layout layout;
    CsvReader::Counts counts;
    std::vector<SensorSample> samples;
};

Result Read(const std::string& text, CsvReader::Options options = {})
{
    Result result;
    Tarvo::Test::TextFile file(text);
    Tools::LineReader lines("log.csv", file.File());
    result.ok = CsvReader::Read(
        lines, options, [&](const CsvReader::Layout& l) { result.layout = l; },
        [&](const SensorSample& s) { result.samples.push_back(s); }, result.counts, result.error);
    return result;
}

TEST(CsvReaderTest, HeaderNamesColumnsAndUnits)
{
    const Result r = Read(
        "label;time_ms;gyro_x;acc_x (g);acc_y (g);acc_z (g);proximity;light\n"
        "a;1000;5;0;0;1;5;120\n"
        "b;1010.5;5;0.5;0;-1;;80\n");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.layout.delimiter, ';');
    EXPECT_EQ(r.layout.x, 3);  // the accelerometer's x, not the gyroscope's
    EXPECT_EQ(r.layout.timeUnitFrom, "header");
    EXPECT_EQ(r.layout.accUnit, AccUnit::G);
    ASSERT_EQ(r.samples.size(), 2U);
    EXPECT_DOUBLE_EQ(r.samples[1].timeMs, 10.5);
    EXPECT_FLOAT_EQ(r.samples[0].z, 9.80665F);
    EXPECT_FLOAT_EQ(r.samples[1].x, 0.5F * 9.80665F);
    EXPECT_EQ(r.samples[0].prox, 5.0F);
    EXPECT_FALSE(r.samples[1].prox.has_value());  // an empty cell is no reading
    EXPECT_EQ(r.samples[1].light, 80.0F);
}

TEST(CsvReaderTest, DetectsTimeUnitFromSpacingAndGFromMagnitude)
{
    const Result seconds = Read("t,x,y,z\n0.00,0,0,1\n0.01,0,0,1\n0.02,0,0.1,1\n");
    ASSERT_TRUE(seconds.ok) << seconds.error;
    EXPECT_EQ(seconds.layout.timeUnit, TimeUnit::S);
    EXPECT_EQ(seconds.layout.accUnit, AccUnit::G);
    EXPECT_DOUBLE_EQ(seconds.samples[2].timeMs, 20.0);

    const Result micros = Read("5000000 0 0 9.8\n5010000 0 0 9.8\n5020000 0 0 9.8\n");
    ASSERT_TRUE(micros.ok) << micros.error;
    EXPECT_EQ(micros.layout.timeUnit, TimeUnit::US);
    EXPECT_EQ(micros.layout.accUnit, AccUnit::MS2);

    const Result forced =
        Read("0,0,0,1\n10,0,0,1\n", CsvReader::Options{TimeUnit::S, AccUnit::MS2});
    ASSERT_TRUE(forced.ok) << forced.error;
    EXPECT_DOUBLE_EQ(forced.samples[1].timeMs, 10000.0);
    EXPECT_FLOAT_EQ(forced.samples[1].z, 1.0F);
}

TEST(CsvReaderTest, TimeUnitFromTheHeaderOnlyWhenItSaysOne)
{
    const auto unitOf = [](const std::string& name) {
        return Read(name + ",x,y,z\n0,0,0,9.8\n20,0,0,9.8\n").layout;
    };
    EXPECT_EQ(unitOf("time (s)").timeUnit, TimeUnit::S);
    EXPECT_EQ(unitOf("timestamp_nanos").timeUnit, TimeUnit::NS);
    EXPECT_EQ(unitOf("elapsed_usec").timeUnit, TimeUnit::US);
    EXPECT_EQ(unitOf("seconds_elapsed").timeUnitFrom, "spacing");
    const CsvReader::Layout sinceBoot = unitOf("time_since_boot");
    EXPECT_EQ(sinceBoot.timeUnitFrom, "spacing");
    EXPECT_EQ(sinceBoot.timeUnit, TimeUnit::MS);
}

TEST(CsvReaderTest, RowsGoingBackInTimeAreSkipped)
{
    const Result r = Read("0,0,0,9.8\n20,0,0,9.8\n10,0,0,9.8\n30,0,0,9.8\n");
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.counts.backwards, 1U);
    EXPECT_EQ(r.samples.size(), 3U);
}

TEST(CsvReaderTest, OutOfRangeValuesBecomeInfinite)
{
    const Result r = Read("0,1e300,-1e300,9.8\n1,0,0,9.8\n", {TimeUnit::S, {}});
    ASSERT_TRUE(r.ok) << r.error;
    EXPECT_EQ(r.samples[0].x, std::numeric_limits<float>::infinity());
    EXPECT_EQ(r.samples[0].y, -std::numeric_limits<float>::infinity());
}

TEST(CsvReaderTest, ErrorsNameFileLineAndProblem)
{
    EXPECT_EQ(Read("0,0,0,9.8\n10,0,zero,9.8\n").error, "log.csv:2: y is not a number: 'zero'");
    EXPECT_EQ(Read("\n# comment\n0,0,0\n").error,
              "log.csv:3: expected a header or at least 4 columns (time, x, y, z), got 3");
    EXPECT_EQ(Read("0,0,0,9.8\n10,0,9.8\n").error, "log.csv:2: expected at least 4 columns, got 3");
    EXPECT_EQ(Read("time,x,y\n").error, "log.csv:1: the header names no z column");
    EXPECT_EQ(Read("time,x,y,z\n").error, "log.csv: no usable sample");
    EXPECT_THAT(Read("inf,0,0,9.8\n").error, HasSubstr("time is not finite"));
    // Past the detection window, errors still carry their line.
    std::string longLog;
    for (int i = 0; i < 100; ++i) {
        longLog += std::to_string(i * 10) + ",0,0,9.8\n";
    }
    EXPECT_EQ(Read(longLog + "1000,0,0,9.8,\"\n1010,0,0,x\n").error,
              "log.csv:102: z is not a number: 'x'");
    // A binary file's bytes are escaped, so a nul does not end the message.
    EXPECT_EQ(Read(std::string("0,0,0,9.8\n10,0,\0,9.8\n", 21)).error,
              "log.csv:2: y is not a number: '\\x00'");
}

}  // namespace
}  // namespace Tarvo::Import::Test
