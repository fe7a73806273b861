#include "claim_registry.h"

namespace Tarvo::Motiond {

ClaimRegistry::Admission ClaimRegistry::CanClaim(const std::string& client) const
{
    const auto found = claims_.find(client);
    if (found == claims_.end()) {
        return claims_.size() >= kMaxClients ? Admission::REGISTRY_FULL : Admission::OK;
    }
    return found->second.total >= kMaxClaimsPerClient ? Admission::CLIENT_FULL : Admission::OK;
}

bool ClaimRegistry::Claim(const std::string& client, int32_t type)
{
    Held& held = claims_[client];
    ++held.counts[type];
    ++held.total;
    std::set<std::string>& holders = holders_[type];
    holders.insert(client);
    return holders.size() == 1 && held.counts[type] == 1;
}

ClaimRegistry::Release ClaimRegistry::Unclaim(const std::string& client, int32_t type)
{
    const auto found = claims_.find(client);
    if (found == claims_.end()) {
        return Release::NOT_CLAIMED;
    }
    Held& held = found->second;
    const auto count = held.counts.find(type);
    if (count == held.counts.end()) {
        return Release::NOT_CLAIMED;
    }
    --held.total;
    if (--count->second > 0) {
        return Release::COUNTED;
    }
    held.counts.erase(count);
    if (held.total == 0) {
        claims_.erase(found);
    }
    std::set<std::string>& holders = holders_[type];
    holders.erase(client);
    if (!holders.empty()) {
        return Release::COUNTED;
    }
    holders_.erase(type);
    return Release::LAST;
}

std::vector<int32_t> ClaimRegistry::DropClient(const std::string& client)
{
    std::vector<int32_t> freed;
    const auto found = claims_.find(client);
    if (found == claims_.end()) {
        return freed;
    }
    for (const auto& [type, count] : found->second.counts) {
        std::set<std::string>& holders = holders_[type];
        holders.erase(client);
        if (holders.empty()) {
            holders_.erase(type);
            freed.push_back(type);
        }
    }
    claims_.erase(found);
    return freed;
}

const std::set<std::string>& ClaimRegistry::Holders(int32_t type) const
{
    static const std::set<std::string> kNobody;
    const auto found = holders_.find(type);
    return found != holders_.end() ? found->second : kNobody;
}

std::vector<int32_t> ClaimRegistry::HeldTypes() const
{
    std::vector<int32_t> types;
    for (const auto& [type, holders] : holders_) {
        types.push_back(type);
    }
    return types;
}

size_t ClaimRegistry::ClaimsOf(const std::string& client) const
{
    const auto found = claims_.find(client);
    return found != claims_.end() ? found->second.total : 0;
}

}  // namespace Tarvo::Motiond
