#include "motion_daemon.h"

#include "exit_codes.h"
#include "gesture_access.h"
#include "linux_platform.h"
#include "motion_bus.h"
#include "motion_needs.h"
#include "motion_service.h"
#include "owner_change.h"
#include "service_log.h"

namespace Tarvo::Motiond {
namespace {

using Linux::LinuxPlatform;
namespace Bus = Tools::Bus;

std::string Describe(const Linux::DevicePresence& presence)
{
    std::string sensors;
    for (int32_t id : presence.sensors) {
        sensors += (sensors.empty() ? "" : ", ") + Tools::MotionNeeds::SensorName(id);
    }
    return "sensors: " + (sensors.empty() ? std::string("none") : sensors) +
           "; touchscreen: " + (presence.touchscreen.empty() ? "none" : presence.touchscreen);
}

std::string Join(const std::vector<int32_t>& values)
{
    std::string text;
    for (int32_t value : values) {
        text += (text.empty() ? "" : ",") + std::to_string(value);
    }
    return text.empty() ? "none" : text;
}

void SetUpLayer(const MotiondOptions& options)
{
    ServiceLog::SetLevel(options.logLevel);
    LinuxPlatform::SetLogLevel(options.libraryLogLevel);
    if (!options.sysfsRoot.empty()) {
        LinuxPlatform::SetSysfsRoot(options.sysfsRoot);
    }
    LinuxPlatform::SetTouchDevice(options.touchDevice);
    LinuxPlatform::SetDisplaySize({options.displayWidth, options.displayHeight});
}

}  // namespace

bool MotionDaemon::OpenReplay()
{
    if (options_.replay.empty()) {
        return true;
    }
    player_ = std::make_unique<TracePlayer>(options_.replay);
    std::string error;
    if (!player_->Open(error)) {
        ServiceLog::Print(ServiceLog::ERROR, "%s", error.c_str());
        return false;
    }
    LinuxPlatform::UseScriptedDevices(player_->StartPresence());
    return true;
}

bool MotionDaemon::ConnectBus()
{
    try {
        bus_ = options_.session ? sdbus::createSessionBusConnection()
                                : sdbus::createSystemBusConnection();
    } catch (const sdbus::Error& failure) {
        ServiceLog::Print(ServiceLog::ERROR, "cannot connect to the %s: %s", BusName(),
                          failure.getMessage().c_str());
        return false;
    }
    return true;
}

bool MotionDaemon::LoadPlugin()
{
    std::string error;
    if (!plugin_.Load(options_.plugin, error)) {
        ServiceLog::Print(ServiceLog::ERROR, "%s", error.c_str());
        return false;
    }
    algo_ = plugin_.Create();
    if (algo_ == nullptr) {
        ServiceLog::Print(ServiceLog::ERROR, "the plug-in could not create its service");
        return false;
    }
    reports_ = std::make_shared<ReportQueue>();
    algo_->RegisterCallback(reports_);
    return true;
}

void MotionDaemon::DeliverReports(MotionService& service)
{
    reports_->TakeAll(batch_);
    for (const Quil::MotionData& data : batch_) {
        service.Deliver(data);
    }
    if (const uint64_t refused = reports_->TakeRefused(); refused > 0) {
        ServiceLog::Print(ServiceLog::WARN, "%llu reports were refused: the bus thread fell behind",
                          static_cast<unsigned long long>(refused));
    }
}

bool MotionDaemon::StartServing(MotionService& service, Bus::BusLoop& loop,
                                Tools::StopSignals& stop, std::string& error)
{
    try {
        LinuxPlatform::SetPresenceObserver(
            [this](const Linux::DevicePresence& now) { presence_.Post(now); });
        const Linux::DevicePresence present = LinuxPlatform::Presence();
        service.Register(present);
        // Clients that leave the bus (exit, crash, disconnect) release everything.
        bus_->addMatch(
            "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
            "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
            [&service](sdbus::Message& message) {
                std::string name;
                if (Bus::ClientGone(message, name)) {
                    service.ClientGone(name);
                }
            },
            sdbus::floating_slot);
        loop.Watch(reports_->Fd(), [this, &service] { DeliverReports(service); });
        loop.Watch(presence_.Fd(), [this, &service] {
            if (std::optional<Linux::DevicePresence> now = presence_.Take()) {
                service.SetPresence(*now);
            }
        });
        loop.Watch(stop.Fd(), [&loop] { loop.Stop(); });
        bus_->requestName(Bus::kBusName);
        ServiceLog::Print(ServiceLog::INFO,
                          "serving %s on the %s; %s; available types: %s; touch gestures for "
                          "the group '%s'%s%s",
                          Bus::kBusName, BusName(), Describe(present).c_str(),
                          Join(service.AvailableTypes()).c_str(), options_.gestureGroup.c_str(),
                          player_ != nullptr ? "; replaying " : "",
                          player_ != nullptr ? options_.replay.c_str() : "");
        if (player_ != nullptr) {
            player_->Start([this](const Linux::DevicePresence& now) { presence_.Post(now); });
            service.OnFirstClaim([this] { player_->Begin(); });
        }
        stop.Arm();
    } catch (const sdbus::Error& failure) {
        error = failure.getMessage();
        return false;
    }
    return true;
}

int MotionDaemon::Run(Tools::StopSignals& stop)
{
    SetUpLayer(options_);
    if (!OpenReplay()) {
        return Tools::kExitUsage;
    }
    if (!ConnectBus() || !LoadPlugin()) {
        return Tools::kExitFailure;
    }
    MotionService service(*bus_, *algo_, GestureAccess(options_.gestureGroup));
    Bus::BusLoop loop(*bus_);
    std::string error;
    bool stopped = false;
    if (!StartServing(service, loop, stop, error)) {
        ServiceLog::Print(ServiceLog::ERROR, "cannot serve %s on the %s: %s", Bus::kBusName,
                          BusName(), error.c_str());
    } else if (!(stopped = loop.Run(error))) {
        ServiceLog::Print(ServiceLog::ERROR, "lost the %s (%s): exiting", BusName(), error.c_str());
    }
    // Undone in order: nothing more is played or observed, every claimed type is
    // disabled, then the plug-in's object goes.
    LinuxPlatform::SetPresenceObserver({});
    if (player_ != nullptr) {
        player_->Stop();
    }
    service.ReleaseAll();
    plugin_.Destroy(algo_);
    if (stopped) {
        ServiceLog::Print(ServiceLog::INFO, "stopped");
        return Tools::kExitOk;
    }
    return Tools::kExitFailure;
}

}  // namespace Tarvo::Motiond
