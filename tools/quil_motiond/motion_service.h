// The org.quilmotion.Motion1 object: counted claims per client, the plug-in's types
// enabled at their first claim and disabled at their last release, each motion sent as a
// Motion signal to the clients that hold its type and to no one else, and the
// SupportedTypes, AvailableTypes and Version properties. Runs on the bus thread only.
#pragma once

#include <sdbus-c++/sdbus-c++.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "claim_registry.h"
#include "delivery_window.h"
#include "gesture_access.h"
#include "i_motion_algo.h"
#include "linux_platform.h"

namespace Tarvo::Motiond {

class MotionService {
public:
    // How long a client may take to answer a ping before it counts as not reading.
    static constexpr std::chrono::seconds kPingTimeout{30};

    MotionService(sdbus::IConnection& bus, Quil::IMotionAlgo& algo, GestureAccess access);
    ~MotionService();
    MotionService(const MotionService&) = delete;
    MotionService& operator=(const MotionService&) = delete;

    // Publishes the object, with what is present now.
    void Register(const Linux::DevicePresence& presence);
    // Called once, at the first claim the service takes.
    void OnFirstClaim(std::function<void()> callback) { onFirstClaim_ = std::move(callback); }

    // What is present changed: AvailableTypes follows (with PropertiesChanged).
    void SetPresence(const Linux::DevicePresence& presence);
    // One report of the plug-in, to the clients holding its type.
    void Deliver(const Quil::MotionData& data);
    // A client left the bus: all its claims go at once.
    void ClientGone(const std::string& name);
    // Every claim released and its type disabled, at the end.
    void ReleaseAll();

    const std::vector<int32_t>& AvailableTypes() const { return available_; }

private:
    struct Credentials {
        uid_t uid = 0;
        std::optional<std::vector<gid_t>> groups;
    };
    struct Client {
        DeliveryWindow window;
        std::unique_ptr<sdbus::IProxy> peer;  // where pings go
        std::optional<Credentials> credentials;
        bool reportedBehind = false;
    };

    void Claim(sdbus::MethodCall call);
    void Release(sdbus::MethodCall call);
    // The error a claim of `type` by `sender` gets, or nullopt when it may go ahead; the
    // credentials it had to ask for, for the client's record.
    std::optional<sdbus::Error> Refusal(const std::string& sender, int32_t type,
                                        std::optional<Credentials>& credentials);
    // Enables `type` in the plug-in when nobody holds it yet; the error when that fails.
    std::optional<sdbus::Error> StartIfFirst(const std::string& sender, int32_t type);
    std::optional<Credentials> CredentialsOf(const std::string& sender);
    void Disable(int32_t type, const char* why, const std::string& client);
    void Ping(const std::string& name, Client& client);
    void PingAnswered(const std::string& name, const sdbus::Error* error);
    void Reply(sdbus::MethodCall& call, const std::optional<sdbus::Error>& error);

    sdbus::IConnection& bus_;
    Quil::IMotionAlgo& algo_;
    GestureAccess access_;
    std::unique_ptr<sdbus::IObject> object_;
    std::unique_ptr<sdbus::IProxy> daemon_;
    ClaimRegistry registry_;
    std::map<std::string, Client> clients_;  // every client holding a claim
    Linux::DevicePresence presence_;
    std::vector<int32_t> available_;
    std::function<void()> onFirstClaim_;
    std::vector<std::string> holders_;  // reused for each delivery
};

}  // namespace Tarvo::Motiond
