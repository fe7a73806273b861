#include "gesture_access.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>

namespace Tarvo::Motiond {
namespace {

std::optional<gid_t> GroupId(const std::string& name)
{
    group entry{};
    group* found = nullptr;
    std::vector<char> buffer(16384);
    if (getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr) {
        return std::nullopt;
    }
    return found->gr_gid;
}

// The groups the database gives the user: the primary one and every supplementary one.
std::vector<gid_t> UserGroups(uid_t uid)
{
    passwd entry{};
    passwd* found = nullptr;
    std::vector<char> buffer(16384);
    if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return {};
    }
    int count = 64;
    std::vector<gid_t> groups(static_cast<size_t>(count));
    if (getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
        groups.resize(static_cast<size_t>(count));
        if (getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
            return {found->pw_gid};
        }
    }
    groups.resize(static_cast<size_t>(count));
    return groups;
}

}  // namespace

bool GestureAccess::Allows(uid_t uid, const std::optional<std::vector<gid_t>>& groups) const
{
    const std::optional<gid_t> gid = GroupId(group_);
    if (!gid.has_value()) {
        return false;
    }
    const std::vector<gid_t> held = groups.has_value() ? *groups : UserGroups(uid);
    return std::find(held.begin(), held.end(), *gid) != held.end();
}

}  // namespace Tarvo::Motiond
