#include "gesture_access.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <iterator>
#include <optional>
#include <vector>

namespace Tarvo::Motiond {
namespace {

std::string GroupName(gid_t gid)
{
    const group* entry = getgrgid(gid);
    return entry != nullptr ? entry->gr_name : "";
}

TEST(GestureAccessTest, MembershipComesFromTheBusOrElseTheGroupDatabase)
{
    const std::string own = GroupName(getgid());
    ASSERT_FALSE(own.empty());
    const struct {
        std::string group;
        uid_t uid;
        std::optional<std::vector<gid_t>> groups;  // the bus's word, when it gives one
        bool allowed;
    } cases[] = {
        {own, getuid(), std::vector<gid_t>{4242, getgid()}, true},
        // The bus's word counts, whatever the database would say for the user.
        {own, getuid(), std::vector<gid_t>{4242}, false},
        {own, getuid(), std::vector<gid_t>{}, false},
        {own, getuid(), std::nullopt, true},
        // A user the database does not know is in no group.
        {own, 4242424, std::nullopt, false},
        // A group that does not exist lets nobody in.
        {"quil-no-such-group", getuid(), std::vector<gid_t>{getgid()}, false},
        {"quil-no-such-group", getuid(), std::nullopt, false},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(GestureAccess(cases[i].group).Allows(cases[i].uid, cases[i].groups),
                  cases[i].allowed);
    }
}

}  // namespace
}  // namespace Tarvo::Motiond
