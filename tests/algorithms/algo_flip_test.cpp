#include "algo_flip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "host_platform.h"
#include "log_capture.h"
#include "motion_matchers.h"
#include "motion_type.h"
#include "recording_callback.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kTag[] = "AlgoFlip";

class AlgoFlipTest : public testing::Test {
protected:
    void SetUp() override
    {
        Host::HostPlatform::Reset();
        flip_.RegisterCallback(MOTION_TYPE_FLIP, callback_);
    }
    void TearDown() override { flip_.UnregisterCallback(MOTION_TYPE_FLIP); }

    // One raw accelerometer sample, as the sensor reports it.
    int Acc(float x, float y, float z, int sensorTypeId = 1)
    {
        std::array<float, 4> sample = {x, y, z, 0.0F};
        return flip_.StartAlgorithm(sensorTypeId, sample.data());
    }
    void Repeat(int times, float x, float y, float z)
    {
        for (int i = 0; i < times; ++i) {
            Acc(x, y, z);
        }
    }

    std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
    AlgoFlip flip_;
};

TEST_F(AlgoFlipTest, FaceUpFlipReportsCompletionThenLeavingThePose)
{
    Acc(0.1F, 0.2F, 9.8F);   // resting face up
    Acc(6.9F, 0.2F, 6.9F);   // rolled over the long edge
    Acc(0.1F, 0.2F, 9.8F);   // back in the resting pose: a completed flip
    Acc(0.1F, 0.2F, 9.8F);   // staying there reports nothing more
    Acc(0.1F, 0.2F, -9.8F);  // turned onto its face: the pose is left
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1), IsReport(3, 0)));
}

TEST_F(AlgoFlipTest, FlipFromAnotherPoseEndsFlatFaceDown)
{
    Acc(0.0F, 9.8F, 0.0F);   // upright: any pose but face up rests "up"
    Acc(6.9F, 0.0F, -6.9F);  // rolled
    Acc(0.2F, 0.1F, -9.8F);  // flat, |pitch| and |roll| within 20
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
    Acc(5.0F, 0.0F, -8.0F);  // |roll| over 20 leaves the pose
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1), IsReport(3, 0)));
}

TEST_F(AlgoFlipTest, FlipTimesOutOnTheFiftiethSampleWithoutReport)
{
    Acc(0.1F, 0.2F, 9.8F);
    Acc(6.9F, 0.2F, 6.9F);  // into FLIPPING_DOWN; this sample does not count
    LogCapture log;
    Repeat(49, 6.9F, 0.2F, 6.9F);
    EXPECT_EQ(log.Count(kTag, "in HandleFlippingDown, Failed to convert flipped down state"), 49);
    Acc(6.9F, 0.2F, 6.9F);  // the 50th: back to the start, silently
    EXPECT_EQ(log.Count(kTag, "in HandleFlippingDown, Failed to convert flipped down state"), 49);
    Acc(0.1F, 0.2F, 9.8F);  // a fresh decision, not a completed flip
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(6.9F, 0.2F, 6.9F);
    Acc(0.1F, 0.2F, 9.8F);  // the counter was reloaded: a new attempt completes
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
}

TEST_F(AlgoFlipTest, ThresholdsAreStrictWhereTheyShouldBe)
{
    Acc(0.0F, 9.8F, 0.0F);
    LogCapture log;
    Acc(3.3357F, 0.0F, 9.2148F);  // |roll| 19.9: not yet a roll
    Acc(3.3679F, 0.0F, 9.2032F);  // |roll| 20.1: rolling
    EXPECT_EQ(log.Count(kTag, "in HandleStillUp, Failed to convert flipping state"), 1);
    // A flat end pose with magnitude exactly 14 fails the magnitude test.
    Acc(0.0F, 0.0F, -14.0F);
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(0.0F, 0.0F, -13.9F);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(3, 1)));
}

TEST_F(AlgoFlipTest, BadSamplesNeverBreakTheMachine)
{
    LogCapture log;
    EXPECT_EQ(flip_.StartAlgorithm(1, nullptr), -1);
    EXPECT_TRUE(log.Contains(kTag, "in StartAlgorithm, sensorData is nullptr", LOG_LEVEL_ERROR));

    // Before any accelerometer sample, another sensor's sample still drives a step.
    EXPECT_EQ(Acc(5.0F, 0.0F, 0.0F, 12), 0);
    EXPECT_TRUE(log.Contains(kTag, "in PreprocessData, Failed to get acc data"));
    EXPECT_TRUE(log.Contains(kTag, "in IsStillAccUp, data_ is nullptr"));

    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Acc(nan, nan, nan), 0);
    EXPECT_EQ(Acc(inf, -inf, 1e30F), 0);
    EXPECT_EQ(Acc(150.0F, 0.0F, 0.0F), 0);
    EXPECT_EQ(log.Count(kTag, "in PreprocessData, Failed to get valid acc data"), 3);
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

TEST_F(AlgoFlipTest, RepeatedOutcomesAreDeduplicatedAcrossAttempts)
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        Acc(0.1F, 0.2F, 9.8F);
        Acc(6.9F, 0.2F, 6.9F);
        Acc(0.1F, 0.2F, 9.8F);
        Acc(0.1F, 0.2F, -9.8F);
    }
    EXPECT_THAT(callback_->Reports(),
                ElementsAre(IsReport(3, 1), IsReport(3, 0), IsReport(3, 1), IsReport(3, 0)));
    EXPECT_THAT(callback_->Reports()[0], testing::AllOf(WithStatus(-1), WithMove(0.0)));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
