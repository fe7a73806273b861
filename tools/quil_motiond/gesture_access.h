// Who may receive touch gestures: they come from the user's own touches, so only members
// of one group. Membership is decided on credentials the bus daemon vouches for (the
// caller's user id and, where the daemon knows them, its group ids), never on anything
// the caller says.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tarvo::Motiond {

class GestureAccess {
public:
    explicit GestureAccess(std::string group) : group_(std::move(group)) {}

    const std::string& Group() const { return group_; }

    // Whether a caller with user id `uid` and, when the bus gave them, group ids
    // `groups` (primary and supplementary) is a member. Without `groups`, the group
    // database says. The group is looked up each time, so one made after the start counts.
    bool Allows(uid_t uid, const std::optional<std::vector<gid_t>>& groups) const;

private:
    std::string group_;
};

}  // namespace Tarvo::Motiond
