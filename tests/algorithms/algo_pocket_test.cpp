#include "algo_pocket.h"

#include <gmock/gmock.h>

#include <limits>

#include "recogniser_fixture.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;

using AlgoPocketTest = RecogniserTest<AlgoPocket, 7>;

TEST_F(AlgoPocketTest, FirstSampleDecidesOutOfPocketThenFiveQualifyingSamplesIn)
{
    Sample(5, 300.0F);  // lit: not in a pocket
    Sample(12, 0.0F);   // covered but still lit
    Sample(5, 10.0F);   // dark, but no gravity along z yet (zeros): not a pocket
    Repeat(4, 0.2F, 0.3F, -9.7F);
    EXPECT_THAT(Results(), ElementsAre(0));
    Acc(0.2F, 0.3F, 9.7F);  // lying on its other face counts too: the fifth
    EXPECT_THAT(Results(), ElementsAre(0, 1));
    Repeat(3, 0.2F, 0.3F, 9.7F);  // nothing more while in
    Sample(12, 5.0F);
    EXPECT_THAT(Results(), ElementsAre(0, 1, 0));
}

TEST_F(AlgoPocketTest, QualifyingSamplesAddUpAcrossInterruptions)
{
    Sample(12, 0.5F);
    Sample(5, 3.0F);
    Repeat(3, 0.1F, 0.2F, 9.8F);  // three qualifying samples so far
    Acc(0.1F, 9.8F, 0.2F);        // standing on an edge: out (result 0)
    Repeat(1, 0.1F, 0.2F, 9.8F);  // the fourth
    EXPECT_THAT(Results(), ElementsAre(0));
    Acc(0.1F, 0.2F, 9.8F);  // the fifth in all
    EXPECT_THAT(Results(), ElementsAre(0, 1));
}

TEST_F(AlgoPocketTest, BoundariesAreStrict)
{
    Sample(12, 0.0F);
    Sample(5, 75.0F);  // exactly 75 lux is not dark
    Repeat(6, 0.0F, 0.0F, 9.8F);
    Sample(5, 74.9F);
    Repeat(6, 0.0F, 0.0F, 9.0F);  // |z| exactly 9 is not enough
    EXPECT_THAT(Results(), ElementsAre(0));
}

TEST_F(AlgoPocketTest, ReadingsThatAreNoNumberDoNotQualify)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    Sample(12, 0.0F);
    Sample(5, 3.0F);
    Repeat(4, 0.1F, 0.2F, 9.8F);
    Acc(nan, nan, nan);  // |z| not above 9: out, and not counted
    EXPECT_THAT(Results(), ElementsAre(0));
    Acc(0.1F, 0.2F, 9.8F);  // the fifth qualifying sample
    EXPECT_THAT(Results(), ElementsAre(0, 1));
    Sample(5, nan);  // an intensity below 75 is dark; this one is not
    EXPECT_THAT(Results(), ElementsAre(0, 1, 0));
}

TEST_F(AlgoPocketTest, StepsWithoutDataReportOutAndNeverCrash)
{
    EXPECT_EQ(algo_.StartAlgorithm(5, nullptr), -1);
    Sample(3, 1.0F);  // unsupported: data stays empty
    EXPECT_THAT(Results(), ElementsAre(0));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
