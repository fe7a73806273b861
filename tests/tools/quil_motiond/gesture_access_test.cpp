#include "gesture_access.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace Tarvo::Motiond {
namespace {

std::string GroupName(gid_t gid)
{
    const group* entry = getgrgid(gid);
    return entry != nullptr ? entry->gr_name : "";
}

TEST(GestureAccessTest, MembershipComesFromTheGroupIdsTheBusGives)
{
    const std::string own = GroupName(getgid());
    ASSERT_FALSE(own.empty());
    const GestureAccess access(own);
    EXPECT_TRUE(access.Allows(getuid(), std::vector<gid_t>{4242, getgid()}));
    // The bus's word counts, whatever the database would say for the user.
    EXPECT_FALSE(access.Allows(getuid(), std::vector<gid_t>{4242}));
    EXPECT_FALSE(access.Allows(getuid(), std::vector<gid_t>{}));
}

TEST(GestureAccessTest, WithoutGroupIdsTheGroupDatabaseDecides)
{
    const GestureAccess own(GroupName(getgid()));
    EXPECT_TRUE(own.Allows(getuid(), std::nullopt));
    // A user the database does not know is in no group.
    EXPECT_FALSE(own.Allows(4242424, std::nullopt));
}

TEST(GestureAccessTest, AGroupThatDoesNotExistLetsNobodyIn)
{
    const GestureAccess access("quil-no-such-group");
    EXPECT_FALSE(access.Allows(getuid(), std::vector<gid_t>{getgid()}));
    EXPECT_FALSE(access.Allows(getuid(), std::nullopt));
}

}  // namespace
}  // namespace Tarvo::Motiond
