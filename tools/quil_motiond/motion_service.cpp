#include "motion_service.h"

#include <algorithm>
#include <exception>

#include "motion_bus.h"
#include "motion_message.h"
#include "motion_needs.h"
#include "motion_type.h"
#include "motion_version.h"
#include "option_parser.h"
#include "service_log.h"

namespace Tarvo::Motiond {
namespace {

namespace Bus = Tools::Bus;

bool IsSupported(int32_t type)
{
    return std::find(Quil::kSupportTypes.begin(), Quil::kSupportTypes.end(), type) !=
           Quil::kSupportTypes.end();
}

std::vector<int32_t> SupportedTypes()
{
    std::vector<int32_t> types(Quil::kSupportTypes.begin(), Quil::kSupportTypes.end());
    std::sort(types.begin(), types.end());
    return types;
}

std::string Join(const std::vector<int32_t>& values, const char* separator = ",")
{
    std::string text;
    for (int32_t value : values) {
        text += (text.empty() ? "" : separator) + std::to_string(value);
    }
    return text.empty() ? "none" : text;
}

std::string Named(int32_t type)
{
    return std::to_string(type) + " (" + Tools::MotionTypeName(type) + ")";
}

// What `type` needs that `presence` lacks, for the Unavailable error.
std::string Missing(int32_t type, const Linux::DevicePresence& presence)
{
    std::string missing;
    for (int32_t sensor : Tools::MotionNeeds::SensorsOf(type)) {
        if (std::find(presence.sensors.begin(), presence.sensors.end(), sensor) ==
            presence.sensors.end()) {
            missing += (missing.empty() ? "" : ", ") + Tools::MotionNeeds::SensorName(sensor);
        }
    }
    if (Tools::MotionNeeds::NeedsTouchscreen(type) && presence.touchscreen.empty()) {
        missing = "touchscreen";
    }
    return missing;
}

// A ping's error that still proves the client read everything before it: the client
// itself answered, only not with a plain reply.
bool AnsweredByClient(const sdbus::Error& error)
{
    const std::string& name = error.getName();
    return name == "org.freedesktop.DBus.Error.UnknownMethod" ||
           name == "org.freedesktop.DBus.Error.UnknownInterface" ||
           name == "org.freedesktop.DBus.Error.UnknownObject";
}

}  // namespace

MotionService::MotionService(sdbus::IConnection& bus, Quil::IMotionAlgo& algo, GestureAccess access)
    : bus_(bus), algo_(algo), access_(std::move(access))
{
}

MotionService::~MotionService() = default;

void MotionService::Register(const Linux::DevicePresence& presence)
{
    presence_ = presence;
    available_ = Tools::MotionNeeds::Recognisable(presence.sensors, !presence.touchscreen.empty());
    daemon_ = sdbus::createProxy(bus_, Bus::kDBusName, Bus::kDBusPath);
    object_ = sdbus::createObject(bus_, Bus::kObjectPath);
    object_->registerMethod(Bus::kInterface, Bus::kClaim, "i", {"type"}, "", {},
                            [this](sdbus::MethodCall call) { Claim(std::move(call)); });
    object_->registerMethod(Bus::kInterface, Bus::kRelease, "i", {"type"}, "", {},
                            [this](sdbus::MethodCall call) { Release(std::move(call)); });
    object_->registerSignal(
        Bus::kInterface, Bus::kMotion, Bus::kMotionSignature,
        {"type", "result", "status", "action", "direction", "rotateAction", "move"});
    sdbus::Flags constant;
    constant.set(sdbus::Flags::CONST_PROPERTY_VALUE);
    object_->registerProperty(
        Bus::kInterface, Bus::kSupportedTypes, "ai",
        [](sdbus::PropertyGetReply& reply) { reply << SupportedTypes(); }, constant);
    object_->registerProperty(Bus::kInterface, Bus::kAvailableTypes, "ai",
                              [this](sdbus::PropertyGetReply& reply) { reply << available_; });
    object_->registerProperty(
        Bus::kInterface, Bus::kVersion, "s",
        [](sdbus::PropertyGetReply& reply) { reply << std::string(QUIL_VERSION); }, constant);
    object_->finishRegistration();
}

void MotionService::SetPresence(const Linux::DevicePresence& presence)
{
    if (presence == presence_) {
        return;
    }
    presence_ = presence;
    std::vector<int32_t> available =
        Tools::MotionNeeds::Recognisable(presence.sensors, !presence.touchscreen.empty());
    if (available == available_) {
        return;
    }
    for (int32_t type : registry_.HeldTypes()) {
        if (std::find(available.begin(), available.end(), type) == available.end()) {
            ServiceLog::Print(ServiceLog::WARN,
                              "type %s is claimed, but a device it needs is gone (%s): the "
                              "claims stay, and it resumes when the device is back",
                              Named(type).c_str(), Missing(type, presence).c_str());
        }
    }
    available_ = std::move(available);
    ServiceLog::Print(ServiceLog::INFO, "available types now: %s", Join(available_).c_str());
    object_->emitPropertiesChangedSignal(Bus::kInterface, {Bus::kAvailableTypes});
}

std::optional<MotionService::Credentials> MotionService::CredentialsOf(const std::string& sender)
{
    // Asked of the bus daemon, which took them from the kernel when the client connected.
    try {
        sdbus::MethodCall call =
            daemon_->createMethodCall(Bus::kDBusInterface, "GetConnectionCredentials");
        call << sender;
        sdbus::MethodReply reply = daemon_->callMethod(call);
        std::map<std::string, sdbus::Variant> values;
        reply >> values;
        Credentials credentials;
        credentials.uid = values.at("UnixUserID").get<uint32_t>();
        const auto groups = values.find("UnixGroupIDs");
        if (groups != values.end()) {
            const std::vector<uint32_t> ids = groups->second.get<std::vector<uint32_t>>();
            credentials.groups.emplace(ids.begin(), ids.end());
        }
        return credentials;
    } catch (const std::exception& failure) {
        ServiceLog::Print(ServiceLog::WARN, "cannot tell who %s is: %s", sender.c_str(),
                          failure.what());
        return std::nullopt;
    }
}

std::optional<sdbus::Error> MotionService::Refusal(const std::string& sender, int32_t type,
                                                   std::optional<Credentials>& credentials)
{
    if (!IsSupported(type)) {
        return sdbus::Error(Bus::kErrorUnsupportedType,
                            "type " + std::to_string(type) +
                                " is not a motion type of this service (supported: " +
                                Join(SupportedTypes(), ", ") + ")");
    }
    const auto client = clients_.find(sender);
    if (client != clients_.end()) {
        const uint64_t dropped = client->second.window.TakeDropped();
        if (dropped > 0) {
            return sdbus::Error(Bus::kErrorLimitsExceeded,
                                std::to_string(dropped) +
                                    " motions for this client were dropped while it did not "
                                    "read its messages; the claim was not made, make it again");
        }
    }
    if (Tools::MotionNeeds::NeedsTouchscreen(type)) {
        // A connection's credentials are those it connected with: asked once per client.
        credentials = client != clients_.end() && client->second.credentials.has_value()
                          ? client->second.credentials
                          : CredentialsOf(sender);
        if (!credentials.has_value() || !access_.Allows(credentials->uid, credentials->groups)) {
            return sdbus::Error(Bus::kErrorAccessDenied,
                                "type " + Named(type) +
                                    " is a touch gesture, only for members of the group '" +
                                    access_.Group() + "'");
        }
    }
    switch (registry_.CanClaim(sender)) {
        case ClaimRegistry::Admission::CLIENT_FULL:
            return sdbus::Error(Bus::kErrorLimitsExceeded,
                                "this client holds " +
                                    std::to_string(ClaimRegistry::kMaxClaimsPerClient) +
                                    " claims, the most one client may hold");
        case ClaimRegistry::Admission::REGISTRY_FULL:
            return sdbus::Error(Bus::kErrorLimitsExceeded,
                                "the service serves " + std::to_string(ClaimRegistry::kMaxClients) +
                                    " clients, the most it takes");
        case ClaimRegistry::Admission::OK:
            break;
    }
    if (std::find(available_.begin(), available_.end(), type) == available_.end()) {
        return sdbus::Error(Bus::kErrorUnavailable,
                            "type " + Named(type) + " needs a device this one does not have now: " +
                                Missing(type, presence_));
    }
    return std::nullopt;
}

std::optional<sdbus::Error> MotionService::StartIfFirst(const std::string& sender, int32_t type)
{
    if (!registry_.Holders(type).empty()) {
        return std::nullopt;
    }
    const int result = algo_.Enable(type);
    ServiceLog::Print(ServiceLog::INFO, "enable %d -> %d (first claim, by %s)", type, result,
                      sender.c_str());
    if (result != 0) {
        return sdbus::Error(Bus::kErrorFailed,
                            "the recogniser of type " + Named(type) + " could not be started");
    }
    return std::nullopt;
}

void MotionService::Claim(sdbus::MethodCall call)
{
    // The handlers throw nothing into the bus library: every failure is a reply.
    try {
        const std::string sender = call.getSender();
        int32_t type = 0;
        call >> type;
        std::optional<Credentials> credentials;
        std::optional<sdbus::Error> refusal = Refusal(sender, type, credentials);
        if (!refusal.has_value()) {
            refusal = StartIfFirst(sender, type);
        }
        if (!refusal.has_value()) {
            registry_.Claim(sender, type);
            Client& client = clients_[sender];
            if (client.peer == nullptr) {
                client.peer = sdbus::createProxy(bus_, sender, "/");
            }
            if (credentials.has_value()) {
                client.credentials = credentials;
            }
            ServiceLog::Print(ServiceLog::DEBUG, "claim %d by %s (%zu claims)", type,
                              sender.c_str(), registry_.ClaimsOf(sender));
        }
        Reply(call, refusal);
        if (!refusal.has_value() && onFirstClaim_) {
            std::function<void()> first = std::move(onFirstClaim_);
            onFirstClaim_ = nullptr;
            first();
        }
    } catch (const std::exception& failure) {
        Reply(call, sdbus::Error(Bus::kErrorFailed, failure.what()));
    }
}

void MotionService::Release(sdbus::MethodCall call)
{
    try {
        const std::string sender = call.getSender();
        int32_t type = 0;
        call >> type;
        std::optional<sdbus::Error> refusal;
        switch (registry_.Unclaim(sender, type)) {
            case ClaimRegistry::Release::NOT_CLAIMED:
                refusal =
                    sdbus::Error(Bus::kErrorNotClaimed,
                                 "this client holds no claim on type " + std::to_string(type));
                break;
            case ClaimRegistry::Release::LAST:
                Disable(type, "last claim released", sender);
                break;
            case ClaimRegistry::Release::COUNTED:
                break;
        }
        if (!refusal.has_value() && registry_.ClaimsOf(sender) == 0) {
            clients_.erase(sender);
        }
        Reply(call, refusal);
    } catch (const std::exception& failure) {
        Reply(call, sdbus::Error(Bus::kErrorFailed, failure.what()));
    }
}

void MotionService::Reply(sdbus::MethodCall& call, const std::optional<sdbus::Error>& error)
{
    if (error.has_value()) {
        ServiceLog::Print(ServiceLog::DEBUG, "%s by %s refused: %s", call.getMemberName().c_str(),
                          call.getSender().c_str(), error->getMessage().c_str());
        call.createErrorReply(*error).send();
    } else {
        call.createReply().send();
    }
}

void MotionService::Disable(int32_t type, const char* why, const std::string& client)
{
    const int result = algo_.Disable(type);
    ServiceLog::Print(ServiceLog::INFO, "disable %d -> %d (%s, by %s)", type, result, why,
                      client.c_str());
}

void MotionService::Deliver(const Quil::MotionData& data)
{
    const std::set<std::string>& holders = registry_.Holders(data.type);
    holders_.assign(holders.begin(), holders.end());
    for (const std::string& name : holders_) {
        Client& client = clients_[name];
        const DeliveryWindow::Decision decision = client.window.Offer();
        if (decision.send) {
            sdbus::Signal signal = object_->createSignal(Bus::kInterface, Bus::kMotion);
            Tools::Bus::MotionMessage::Write(signal, data);
            signal.setDestination(name);
            object_->emitSignal(signal);
        } else if (!client.reportedBehind) {
            client.reportedBehind = true;
            ServiceLog::Print(ServiceLog::WARN,
                              "%s is not reading its messages: its motions are dropped until it "
                              "does",
                              name.c_str());
        }
        if (decision.ping) {
            Ping(name, client);
        }
    }
}

void MotionService::Ping(const std::string& name, Client& client)
{
    sdbus::MethodCall call = client.peer->createMethodCall(Bus::kPeerInterface, "Ping");
    client.peer->callMethod(
        call,
        [this, name](sdbus::MethodReply& /*reply*/, const sdbus::Error* error) {
            PingAnswered(name, error);
        },
        kPingTimeout);
}

void MotionService::PingAnswered(const std::string& name, const sdbus::Error* error)
{
    const auto found = clients_.find(name);
    if (found == clients_.end()) {
        return;
    }
    Client& client = found->second;
    client.window.Answered(error == nullptr || AnsweredByClient(*error));
    if (client.reportedBehind && !client.window.Behind()) {
        client.reportedBehind = false;
        ServiceLog::Print(ServiceLog::INFO, "%s reads its messages again", name.c_str());
    }
}

void MotionService::ClientGone(const std::string& name)
{
    for (int32_t type : registry_.DropClient(name)) {
        Disable(type, "last claim gone with its client", name);
    }
    clients_.erase(name);
}

void MotionService::ReleaseAll()
{
    for (const auto& [name, client] : clients_) {
        for (int32_t type : registry_.DropClient(name)) {
            Disable(type, "stopping", name);
        }
    }
    clients_.clear();
}

}  // namespace Tarvo::Motiond
