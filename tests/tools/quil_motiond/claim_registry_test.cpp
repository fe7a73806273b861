#include "claim_registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarvo::Motiond {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Release = ClaimRegistry::Release;

TEST(ClaimRegistryTest, ATypeStartsWithItsFirstClaimAndStopsWithItsLastRelease)
{
    ClaimRegistry registry;
    EXPECT_TRUE(registry.Claim(":1.1", 3));
    EXPECT_FALSE(registry.Claim(":1.1", 3));  // counted, not refused
    EXPECT_FALSE(registry.Claim(":1.2", 3));
    EXPECT_EQ(registry.Unclaim(":1.1", 3), Release::COUNTED);
    EXPECT_EQ(registry.Unclaim(":1.2", 3), Release::COUNTED);
    EXPECT_EQ(registry.Unclaim(":1.1", 3), Release::LAST);
    EXPECT_EQ(registry.Unclaim(":1.1", 3), Release::NOT_CLAIMED);
    EXPECT_EQ(registry.Unclaim(":1.3", 4), Release::NOT_CLAIMED);
    EXPECT_EQ(registry.Clients(), 0u);
    EXPECT_THAT(registry.HeldTypes(), IsEmpty());
    EXPECT_TRUE(registry.Claim(":1.2", 3));
}

TEST(ClaimRegistryTest, AClientLeavingReleasesEverythingAndFreesWhatOnlyItHeld)
{
    ClaimRegistry registry;
    registry.Claim(":1.1", 3);
    registry.Claim(":1.1", 3);
    registry.Claim(":1.1", 4);
    registry.Claim(":1.1", 9);
    registry.Claim(":1.2", 4);
    EXPECT_THAT(registry.DropClient(":1.1"), ElementsAre(3, 9));
    EXPECT_EQ(registry.ClaimsOf(":1.1"), 0u);
    EXPECT_THAT(registry.Holders(4), ElementsAre(":1.2"));
    EXPECT_THAT(registry.DropClient(":1.1"), IsEmpty());
    EXPECT_THAT(registry.DropClient(":1.2"), ElementsAre(4));
    EXPECT_EQ(registry.Clients(), 0u);
}

TEST(ClaimRegistryTest, ClaimsPerClientAndClientsAreBounded)
{
    ClaimRegistry registry;
    for (size_t i = 0; i < ClaimRegistry::kMaxClaimsPerClient; ++i) {
        ASSERT_EQ(registry.CanClaim(":1.1"), ClaimRegistry::Admission::OK);
        registry.Claim(":1.1", static_cast<int32_t>(i % 2 == 0 ? 3 : 4));
    }
    EXPECT_EQ(registry.CanClaim(":1.1"), ClaimRegistry::Admission::CLIENT_FULL);
    registry.Unclaim(":1.1", 4);
    EXPECT_EQ(registry.CanClaim(":1.1"), ClaimRegistry::Admission::OK);

    for (size_t i = registry.Clients(); i < ClaimRegistry::kMaxClients; ++i) {
        registry.Claim(":2." + std::to_string(i), 0);
    }
    EXPECT_EQ(registry.CanClaim(":9.9"), ClaimRegistry::Admission::REGISTRY_FULL);
    // One already in may go on claiming.
    EXPECT_EQ(registry.CanClaim(":2.5"), ClaimRegistry::Admission::OK);
}

}  // namespace
}  // namespace Tarvo::Motiond
