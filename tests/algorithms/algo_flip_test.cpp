#include "algo_flip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "motion_matchers.h"
#include "motion_type.h"
#include "recogniser_fixture.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using AlgoFlipTest = RecogniserTest<AlgoFlip, MOTION_TYPE_FLIP>;

TEST_F(AlgoFlipTest, FlipFromAnotherPoseEndsFlatFaceDown)
{
    Acc(0.0F, 9.8F, 0.0F);   // upright: any pose but face up rests "up"
    Acc(6.9F, 0.0F, -6.9F);  // rolled
    Acc(0.2F, 0.1F, -9.8F);  // flat, |pitch| and |roll| within 20
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
    Acc(5.0F, 0.0F, -8.0F);  // |roll| over 20 leaves the pose
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1), IsReport(3, 0)));
}

TEST_F(AlgoFlipTest, FlipTimesOutOnTheFiftiethSample)
{
    Acc(0.1F, 0.2F, 9.8F);
    Acc(6.9F, 0.2F, 6.9F);  // into the flip; this sample does not count
    Repeat(49, 6.9F, 0.2F, 6.9F);
    Acc(0.1F, 0.2F, 9.8F);  // the 50th: timed out instead of completed
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(0.1F, 0.2F, 9.8F);
    Acc(6.9F, 0.2F, 6.9F);
    Repeat(48, 6.9F, 0.2F, 6.9F);
    Acc(0.1F, 0.2F, 9.8F);  // the 49th, after the counter was reloaded: a flip
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
}

TEST_F(AlgoFlipTest, ThresholdsAreStrictWhereTheyShouldBe)
{
    Acc(0.0F, 9.8F, 0.0F);
    Acc(3.3357F, 0.0F, 9.2148F);  // |roll| 19.9: not yet a roll
    Acc(0.0F, 0.0F, -13.9F);      // so a flat end pose is no flip
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(3.3679F, 0.0F, 9.2032F);  // |roll| 20.1: rolling
    Acc(0.0F, 0.0F, -14.0F);      // magnitude exactly 14 fails the magnitude test
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(0.0F, 0.0F, -13.9F);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
}

TEST_F(AlgoFlipTest, BadSamplesNeverBreakTheMachine)
{
    EXPECT_EQ(algo_.StartAlgorithm(1, nullptr), -1);
    // Before any accelerometer sample, another sensor's sample still drives a step.
    EXPECT_EQ(Sample(12, 5.0F), 0);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Acc(nan, nan, nan), 0);
    EXPECT_EQ(Acc(inf, -inf, 1e30F), 0);
    EXPECT_EQ(Acc(150.0F, 0.0F, 0.0F), 0);
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST_F(AlgoFlipTest, SampleThatIsNoNumberNeverLeavesAFlippedPose)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    // Face up, flipped and back: the end pose holds unless z > 0 or |roll| < 160.
    Acc(0.1F, 0.2F, 9.8F);
    Acc(6.9F, 0.2F, 6.9F);
    Acc(0.1F, 0.2F, 9.8F);
    Acc(nan, nan, nan);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
    Acc(0.1F, 0.2F, -9.8F);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1), IsReport(3, 0)));

    // Upright, flipped flat: it holds unless z < 0 or |roll| > 20.
    Acc(0.0F, 9.8F, 0.0F);
    Acc(6.9F, 0.0F, -6.9F);
    Acc(0.2F, 0.1F, -9.8F);
    Acc(nan, 0.0F, nan);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1), IsReport(3, 0), IsReport(3, 1)));
    Acc(5.0F, 0.0F, -8.0F);
    EXPECT_THAT(callback_->Reports(),
                ElementsAre(IsReport(3, 1), IsReport(3, 0), IsReport(3, 1), IsReport(3, 0)));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
