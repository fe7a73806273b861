#include "motion_watcher.h"

#include <algorithm>
#include <cstdio>

#include "motion_bus.h"
#include "motion_message.h"
#include "owner_change.h"

namespace Tarvo::Watch {
namespace {

namespace Bus = Tools::Bus;

std::string Describe(const sdbus::Error& error)
{
    return error.getName() + ": " + error.getMessage();
}

}  // namespace

MotionWatcher::MotionWatcher(sdbus::IConnection& bus, Handler handler)
    : bus_(bus),
      handler_(std::move(handler)),
      service_(sdbus::createProxy(bus, Bus::kBusName, Bus::kObjectPath)),
      daemon_(sdbus::createProxy(bus, Bus::kDBusName, Bus::kDBusPath))
{
    motionMatch_ =
        bus_.addMatch(std::string("type='signal',interface='") + Bus::kInterface + "',member='" +
                          Bus::kMotion + "',path='" + Bus::kObjectPath + "'",
                      [this](sdbus::Message& message) { OnMotion(message); });
    ownerMatch_ = bus_.addMatch(std::string("type='signal',sender='org.freedesktop.DBus',"
                                            "interface='org.freedesktop.DBus',"
                                            "member='NameOwnerChanged',arg0='") +
                                    Bus::kBusName + "'",
                                [this](sdbus::Message& message) { OnOwnerChanged(message); });
}

MotionWatcher::~MotionWatcher() = default;

std::string MotionWatcher::Owner()
{
    try {
        sdbus::MethodCall call = daemon_->createMethodCall(Bus::kDBusInterface, "GetNameOwner");
        call << std::string(Bus::kBusName);
        sdbus::MethodReply reply = daemon_->callMethod(call);
        std::string owner;
        reply >> owner;
        return owner;
    } catch (const sdbus::Error&) {
        return "";
    }
}

bool MotionWatcher::AvailableTypes(std::vector<int32_t>& types, std::string& error)
{
    try {
        sdbus::MethodCall call = service_->createMethodCall(Bus::kPropertiesInterface, "Get");
        call << std::string(Bus::kInterface) << std::string(Bus::kAvailableTypes);
        sdbus::MethodReply reply = service_->callMethod(call);
        sdbus::Variant value;
        reply >> value;
        types = value.get<std::vector<int32_t>>();
        return true;
    } catch (const sdbus::Error& failure) {
        error = Describe(failure);
        return false;
    }
}

bool MotionWatcher::Claim(const std::vector<int32_t>& types, std::vector<std::string>& problems)
{
    bool any = false;
    for (int32_t type : types) {
        try {
            sdbus::MethodCall call = service_->createMethodCall(Bus::kInterface, Bus::kClaim);
            call << type;
            service_->callMethod(call);
            any = true;
            if (std::find(claimed_.begin(), claimed_.end(), type) == claimed_.end()) {
                claimed_.push_back(type);
            }
        } catch (const sdbus::Error& failure) {
            problems.push_back("claim " + std::to_string(type) + ": " + Describe(failure));
        }
    }
    // Motions already sent wait in the connection until the loop runs, after this.
    owner_ = Owner();
    return any;
}

void MotionWatcher::ReleaseAll()
{
    for (int32_t type : claimed_) {
        try {
            sdbus::MethodCall call = service_->createMethodCall(Bus::kInterface, Bus::kRelease);
            call << type;
            service_->callMethod(call);
        } catch (const sdbus::Error&) {
            // Gone with the service, or never made after a restart: nothing to release.
        }
    }
    claimed_.clear();
}

void MotionWatcher::OnMotion(sdbus::Message& message)
{
    Quil::MotionData data;
    if (owner_.empty() || message.getSender() != owner_ ||
        !Tools::Bus::MotionMessage::Read(message, data)) {
        return;
    }
    handler_(data);
}

void MotionWatcher::OnOwnerChanged(sdbus::Message& message)
{
    Tools::Bus::OwnerChange change;
    // The owner a claim already found (the service started by the claim itself) is no news.
    if (!Tools::Bus::ReadOwnerChange(message, change) || change.name != Bus::kBusName ||
        change.newOwner == owner_) {
        return;
    }
    owner_ = change.newOwner;
    if (owner_.empty()) {
        std::fprintf(stderr, "quil-watch: the service stopped; waiting for it to come back\n");
        return;
    }
    // A new service knows nothing of the old one's claims.
    std::fprintf(stderr, "quil-watch: the service is back; claiming again\n");
    std::vector<std::string> problems;
    const std::vector<int32_t> types = claimed_;
    Claim(types, problems);
    for (const std::string& problem : problems) {
        std::fprintf(stderr, "quil-watch: %s\n", problem.c_str());
    }
}

}  // namespace Tarvo::Watch
