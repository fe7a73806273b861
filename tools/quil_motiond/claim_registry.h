// Who holds which claims: counted per client and type, so that the service enables a
// type at its first claim, disables it at its last release, and knows whom to send each
// motion. Bounded: a client holds at most kMaxClaimsPerClient claims, and at most
// kMaxClients clients hold any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Tarvo::Motiond {

class ClaimRegistry {
public:
    static constexpr size_t kMaxClaimsPerClient = 256;
    static constexpr size_t kMaxClients = 4096;

    enum class Admission { OK, CLIENT_FULL, REGISTRY_FULL };
    // Whether `client` may add a claim now.
    Admission CanClaim(const std::string& client) const;
    // Adds one claim (after CanClaim said OK); true when it is the type's first.
    bool Claim(const std::string& client, int32_t type);

    enum class Release { LAST, COUNTED, NOT_CLAIMED };
    Release Unclaim(const std::string& client, int32_t type);
    // Every claim of `client` at once; the types nobody holds any more, in type order.
    std::vector<int32_t> DropClient(const std::string& client);

    // The clients holding `type`, in name order.
    const std::set<std::string>& Holders(int32_t type) const;
    // Every type someone holds, in type order.
    std::vector<int32_t> HeldTypes() const;
    size_t ClaimsOf(const std::string& client) const;
    size_t Clients() const { return claims_.size(); }

private:
    struct Held {
        std::map<int32_t, size_t> counts;
        size_t total = 0;
    };
    std::map<std::string, Held> claims_;
    std::map<int32_t, std::set<std::string>> holders_;
};

}  // namespace Tarvo::Motiond
