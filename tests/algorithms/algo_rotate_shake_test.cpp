// Rotation and shake: stateless recognisers whose repeats the report path drops.
#include <gmock/gmock.h>

#include <limits>

#include "algo_rotate.h"
#include "algo_shake.h"
#include "recogniser_fixture.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;

using AlgoRotateTest = RecogniserTest<AlgoRotate, 4>;
using AlgoShakeTest = RecogniserTest<AlgoShake, 6>;

std::vector<int> Orientations(const std::vector<MotionData>& reports)
{
    std::vector<int> codes;
    for (const auto& report : reports) {
        codes.push_back(report.rotateAction);
    }
    return codes;
}

TEST_F(AlgoRotateTest, ExactDiagonalsAndFlatSamplesKeepTheLastOrientation)
{
    Acc(-9.8F, 0.0F, 0.0F);
    Acc(-5.0F, 5.0F, 0.0F);  // exactly 45 degrees: 0
    Acc(0.0F, 0.0F, 9.8F);   // flat: rejected
    EXPECT_THAT(Orientations(callback_->Reports()), ElementsAre(3, 0));
}

TEST_F(AlgoRotateTest, RangeCheckRejectsOnlyBeyondAHundredAndNoNumberIsTheRemainingCode)
{
    EXPECT_EQ(algo_.StartAlgorithm(1, nullptr), -1);
    EXPECT_EQ(Acc(-9.8F, 0.0F, 0.0F), 0);
    EXPECT_EQ(Acc(100.5F, 0.0F, 0.0F), -1);
    EXPECT_EQ(Acc(std::numeric_limits<float>::infinity(), 0.0F, 0.0F), -1);
    EXPECT_EQ(Acc(100.0F, 0.0F, 0.0F), 0);  // on the bound: accepted, orientation 1
    // Within range and not flat, but its angle lies in no open interval: code 0.
    EXPECT_EQ(Acc(std::numeric_limits<float>::quiet_NaN(), 9.8F, 0.0F), 0);
    EXPECT_THAT(Orientations(callback_->Reports()), ElementsAre(3, 1, 0));
}

TEST_F(AlgoShakeTest, XThresholdIsHalfTheOthers)
{
    Acc(0.0F, 18.0F, 0.0F);  // exactly 18: not a shake
    Acc(0.0F, 0.0F, -18.0F);
    Acc(9.8F, 0.0F, 0.0F);  // held still on its side: counts as shaking
    Acc(0.0F, 18.01F, 0.0F);
    EXPECT_THAT(Results(), ElementsAre(0, 1));
}

TEST_F(AlgoShakeTest, NoSampleAndNoNumberAreCalmAndInfinityIsAShake)
{
    Sample(12, 0.0F);  // no accelerometer sample yet
    Acc(0.0F, 0.0F, -20.0F);
    Acc(std::numeric_limits<float>::quiet_NaN(), 0.0F, 0.0F);
    Acc(0.0F, -std::numeric_limits<float>::infinity(), 0.0F);
    EXPECT_THAT(Results(), ElementsAre(0, 1, 0, 1));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
