// Pocket's thresholds and counting are pinned by the motion traces; a sample of a
// sensor it does not use can only be handed to it directly.
#include "algo_pocket.h"

#include <gmock/gmock.h>

#include "recogniser_fixture.h"

namespace Tarvo::Quil::Test {
namespace {

using testing::ElementsAre;

using AlgoPocketTest = RecogniserTest<AlgoPocket, 7>;

TEST_F(AlgoPocketTest, StepsWithoutDataReportOutAndNeverCrash)
{
    EXPECT_EQ(algo_.StartAlgorithm(5, nullptr), -1);
    Sample(3, 1.0F);  // unsupported: data stays empty
    EXPECT_THAT(Results(), ElementsAre(0));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
