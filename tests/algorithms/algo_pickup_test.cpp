// Pick-up and near-ear share their pose machinery; both are tested here through their
// own public surfaces.
#include "algo_pickup.h"

#include <gmock/gmock.h>

#include <limits>

#include "algo_near_ear.h"
#include "recogniser_fixture.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using AlgoPickupTest = RecogniserTest<AlgoPickup, 0>;
class AlgoNearEarTest : public RecogniserTest<AlgoNearEar, 2> {
protected:
    // From rest on a table into the moving state.
    void LiftFromTable()
    {
        Acc(0.1F, 1.6F, 9.7F);
        Repeat(5, 0.1F, 0.2F, 9.8F);
        Acc(0.9F, 3.4F, 12.9F);
    }
};

TEST_F(AlgoPickupTest, PoseHeldFromPowerOnIsOnlyAcceptedAfterBeingBrokenOnce)
{
    Repeat(20, 0.1F, 0.2F, 9.8F);  // the counter starts at 0 and runs negative
    Acc(0.3F, 9.0F, 12.5F);        // jerk: no still pose was ever accepted
    EXPECT_THAT(callback_->Reports(), IsEmpty());

    Acc(0.1F, 1.6F, 9.7F);        // the pose is broken once
    Repeat(4, 0.1F, 0.2F, 9.8F);  // four samples are not enough
    Acc(0.4F, 8.5F, 9.0F);        // magnitude 12.4 would leave stillness: still idle
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST_F(AlgoPickupTest, StillnessBandIsInclusive)
{
    Acc(0.1F, 1.6F, 9.7F);
    Repeat(5, 0.0F, 0.0F, 9.8F);
    Acc(0.0F, 0.0F, 12.0F);   // exactly 12: still
    Acc(0.0F, 0.0F, 8.0F);    // exactly 8: still
    Acc(0.0F, -9.0F, -9.0F);  // pitch -45, magnitude 12.7: moving, but not tilted up
    Acc(0.0F, 9.0F, 9.0F);    // pitch 135 exactly: not picked up
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(0.0F, 9.0F, 8.9F);
    EXPECT_THAT(Results(), ElementsAre(1));
}

TEST_F(AlgoPickupTest, NoSampleYetMeansErrorsButNoCrash)
{
    EXPECT_EQ(algo_.StartAlgorithm(1, nullptr), -1);
    EXPECT_EQ(Sample(12, 0.0F), 0);  // not its sensor: a step with no data
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(Acc(nan, std::numeric_limits<float>::infinity(), 1e38F), 0);
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST_F(AlgoPickupTest, SamplesThatAreNoNumberTakeTheOtherwiseBranches)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Repeat(20, 0.1F, 0.2F, 9.8F);  // flat from power-on: never accepted so far
    Acc(nan, 0.2F, 9.8F);          // fits no pose: a miss like any other
    Repeat(5, 0.1F, 0.2F, 9.8F);   // so now the fifth flat sample converts
    Acc(nan, 0.2F, 9.8F);          // not in the stillness band: moving
    Acc(nan, nan, nan);            // pitch not in (0, 135): no pick-up
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Acc(0.3F, 8.5F, 4.9F);  // pitch 120, magnitude 9.8: picked up only if moving
    Acc(nan, nan, nan);     // pitch neither above 135 nor below 0: still picked up
    EXPECT_THAT(Results(), ElementsAre(1));
    Acc(0.3F, 3.1F, 9.2F);  // pitch 161
    EXPECT_THAT(Results(), ElementsAre(1, 0));
}

TEST_F(AlgoNearEarTest, SampleThatIsNoNumberIsNotStill)
{
    Acc(0.1F, 1.6F, 9.7F);
    Repeat(5, 0.1F, 0.2F, 9.8F);                               // at rest, flat
    Acc(0.1F, std::numeric_limits<float>::quiet_NaN(), 9.8F);  // magnitude and pitch too
    Sample(12, 0.0F);  // covered, but a pitch that is no number is not at the ear
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    // Within the stillness band: reported only because the sample above left stillness.
    Acc(3.3F, 8.6F, 2.7F);
    EXPECT_THAT(Results(), ElementsAre(1));
}

TEST_F(AlgoNearEarTest, RaisedToTheEarNeedsTheProximitySensorCovered)
{
    LiftFromTable();
    Acc(3.3F, 8.6F, 2.7F);  // upright, pitch 107, not covered
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Sample(12, 0.9F);  // 0.9 truncates to 0: near, and the sample drives a step itself
    EXPECT_THAT(Results(), ElementsAre(1));
    Acc(0.1F, 0.2F, 9.8F);  // tilted flat while still covered: nothing
    Sample(12, 1.0F);       // 1.0 is not near
    EXPECT_THAT(Results(), ElementsAre(1, 0));
}

TEST_F(AlgoNearEarTest, PitchBoundsAreExclusive)
{
    LiftFromTable();
    Sample(12, 0.0F);
    Acc(0.0F, 9.0F, -9.0F);  // pitch 45: outside (70, 135)
    Acc(0.0F, 9.0F, 9.0F);   // pitch 135 exactly
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST_F(AlgoNearEarTest, DistancesThatAreNoNumberAreNotNear)
{
    LiftFromTable();
    Acc(3.3F, 8.6F, 2.7F);
    for (float distance : {std::numeric_limits<float>::quiet_NaN(),
                           std::numeric_limits<float>::infinity(), -1.0F, 3e9F, -3e9F}) {
        Sample(12, distance);
    }
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    Sample(12, -0.5F);
    EXPECT_THAT(Results(), ElementsAre(1));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
