#include "sensor_resampler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace Tarvo::Import::Test {
namespace {

using testing::ElementsAre;
using testing::Pair;

// Feeds samples whose x is their own time and collects (tick, x) pairs.
std::vector<std::pair<double, float>> Resample(double interval, const std::vector<double>& times)
{
    std::vector<std::pair<double, float>> ticks;
    SensorResampler resampler(
        interval, [&ticks](double tick, const SensorSample& s) { ticks.emplace_back(tick, s.x); });
    for (double t : times) {
        SensorSample sample;
        sample.timeMs = t;
        sample.x = static_cast<float>(t);
        resampler.Add(sample);
    }
    resampler.Finish();
    return ticks;
}

TEST(SensorResamplerTest, DeliversTheNewestSampleAtEveryTick)
{
    std::vector<double> times;
    for (int t = 0; t <= 250; t += 10) {
        times.push_back(t);
    }
    // A sample taken exactly at a tick belongs to that tick.
    EXPECT_THAT(Resample(100, times),
                ElementsAre(Pair(0, 0), Pair(100, 100), Pair(200, 200), Pair(300, 250)));
}

TEST(SensorResamplerTest, SlowOrGappedLogsDeliverEachSampleOnce)
{
    EXPECT_THAT(Resample(100, {0, 250, 260, 900}),
                ElementsAre(Pair(0, 0), Pair(300, 260), Pair(900, 900)));
    EXPECT_THAT(Resample(20, {5, 5, 15}), ElementsAre(Pair(5, 5), Pair(25, 15)));
    EXPECT_TRUE(Resample(100, {}).empty());
}

}  // namespace
}  // namespace Tarvo::Import::Test
