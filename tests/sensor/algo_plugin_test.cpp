#include "algo_plugin.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "motion_matchers.h"
#include "recogniser_fixture.h"
#include "sensor_connection.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kBindType = 41;  // a motion type no real recogniser uses

// The smallest recogniser: counts the samples it is given.
class CountingAlgo : public AlgoPlugin {
public:
    CountingAlgo() { supportSensors_ = {1, 12}; }
    int StartAlgorithm(int /*sensorTypeId*/, void* /*data*/) override { return ++steps; }
    int PreprocessData(int /*sensorTypeId*/, void* /*data*/) override { return 0; }
    int steps = 0;
};

MotionData Outcome(int type, int result)
{
    MotionData data;
    data.type = type;
    data.result = result;
    return data;
}

using AlgoPluginTest = RecogniserTest<CountingAlgo, kBindType>;

// Which field decides a repeat is in every motion trace; the return codes are not.
TEST_F(AlgoPluginTest, RefusedReportIsOfferedAgainAndARepeatIsSwallowedButSucceeds)
{
    callback_->SetReturnValue(7);
    EXPECT_EQ(algo_.Report(Outcome(0, 1)), -1);
    callback_->SetReturnValue(0);
    EXPECT_EQ(algo_.Report(Outcome(0, 1)), 0);
    EXPECT_EQ(algo_.Report(Outcome(0, 1)), 0);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(0, 1), IsReport(0, 1)));
}

TEST_F(AlgoPluginTest, TypesOutsideTheDeviceMotionsWarnAndSucceed)
{
    for (int type : {1, 5, 8, 9, 13, -3}) {
        EXPECT_EQ(algo_.Report(Outcome(type, 1)), 0) << type;
    }
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST_F(AlgoPluginTest, ReportWithoutCallbackFails)
{
    algo_.UnregisterCallback(kBindType);
    EXPECT_EQ(algo_.Report(Outcome(3, 1)), -1);
}

TEST_F(AlgoPluginTest, BindingRunsTheMostDerivedEntryPointOnEverySample)
{
    float sample[4] = {0.0F, 0.0F, 9.8F, 0.0F};
    SensorConnection::GetInstance().NotifyCallback(1, sample);
    SensorConnection::GetInstance().NotifyCallback(5, sample);
    EXPECT_EQ(algo_.steps, 2);
    EXPECT_EQ(algo_.GetSupportSensors(), (std::set<int>{1, 12}));

    algo_.UnregisterCallback(kBindType);
    SensorConnection::GetInstance().NotifyCallback(1, sample);
    EXPECT_EQ(algo_.steps, 2);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
