#include "motion_daemon.h"

#include <sdbus-c++/sdbus-c++.h>

#include <vector>

#include "bus_loop.h"
#include "exit_codes.h"
#include "gesture_access.h"
#include "linux_platform.h"
#include "motion_bus.h"
#include "motion_needs.h"
#include "motion_service.h"
#include "owner_change.h"
#include "plugin_loader.h"
#include "presence_mailbox.h"
#include "report_queue.h"
#include "service_log.h"
#include "trace_player.h"

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

int MotionDaemon::Run(Tools::StopSignals& stop)
{
    SetUpLayer(options_);
    const char* busName = options_.session ? "session bus" : "system bus";
    std::unique_ptr<TracePlayer> player;
    if (!options_.replay.empty()) {
        player = std::make_unique<TracePlayer>(options_.replay);
        std::string error;
        if (!player->Open(error)) {
            ServiceLog::Print(ServiceLog::ERROR, "%s", error.c_str());
            return Tools::kExitUsage;
        }
        LinuxPlatform::UseScriptedDevices(player->StartPresence());
    }

    std::unique_ptr<sdbus::IConnection> bus;
    try {
        bus = options_.session ? sdbus::createSessionBusConnection()
                               : sdbus::createSystemBusConnection();
    } catch (const sdbus::Error& failure) {
        ServiceLog::Print(ServiceLog::ERROR, "cannot connect to the %s: %s", busName,
                          failure.getMessage().c_str());
        return Tools::kExitFailure;
    }

    Tools::PluginLoader plugin;
    std::string error;
    if (!plugin.Load(options_.plugin, error)) {
        ServiceLog::Print(ServiceLog::ERROR, "%s", error.c_str());
        return Tools::kExitFailure;
    }
    Quil::IMotionAlgo* algo = plugin.Create();
    if (algo == nullptr) {
        ServiceLog::Print(ServiceLog::ERROR, "the plug-in could not create its service");
        return Tools::kExitFailure;
    }
    auto reports = std::make_shared<ReportQueue>();
    algo->RegisterCallback(reports);

    PresenceMailbox presence;
    MotionService service(*bus, *algo, GestureAccess(options_.gestureGroup));
    Bus::BusLoop loop(*bus);
    std::vector<Quil::MotionData> batch;  // the reports the loop takes at a time
    bool served = false;
    try {
        LinuxPlatform::SetPresenceObserver(
            [&presence](const Linux::DevicePresence& now) { presence.Post(now); });
        const Linux::DevicePresence present = LinuxPlatform::Presence();
        service.Register(present);
        // Clients that leave the bus (exit, crash, disconnect) release everything.
        bus->addMatch(
            "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
            "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
            [&service](sdbus::Message& message) {
                std::string name;
                if (Bus::ClientGone(message, name)) {
                    service.ClientGone(name);
                }
            },
            sdbus::floating_slot);
        loop.Watch(reports->Fd(), [&] {
            reports->TakeAll(batch);
            for (const Quil::MotionData& data : batch) {
                service.Deliver(data);
            }
            if (const uint64_t refused = reports->TakeRefused(); refused > 0) {
                ServiceLog::Print(ServiceLog::WARN,
                                  "%llu reports were refused: the bus thread fell behind",
                                  static_cast<unsigned long long>(refused));
            }
        });
        loop.Watch(presence.Fd(), [&] {
            if (std::optional<Linux::DevicePresence> now = presence.Take()) {
                service.SetPresence(*now);
            }
        });
        loop.Watch(stop.Fd(), [&loop] { loop.Stop(); });
        bus->requestName(Bus::kBusName);
        ServiceLog::Print(ServiceLog::INFO,
                          "serving %s on the %s; %s; available types: %s; touch gestures for "
                          "the group '%s'%s%s",
                          Bus::kBusName, busName, Describe(present).c_str(),
                          Join(service.AvailableTypes()).c_str(), options_.gestureGroup.c_str(),
                          player != nullptr ? "; replaying " : "",
                          player != nullptr ? options_.replay.c_str() : "");
        if (player != nullptr) {
            player->Start([&presence](const Linux::DevicePresence& now) { presence.Post(now); });
            service.OnFirstClaim([&player] { player->Begin(); });
        }
        served = true;
        stop.Arm();
    } catch (const sdbus::Error& failure) {
        error = failure.getMessage();
    }

    bool stopped = false;
    if (served) {
        stopped = loop.Run(error);
    } else {
        ServiceLog::Print(ServiceLog::ERROR, "cannot serve %s on the %s: %s", Bus::kBusName,
                          busName, error.c_str());
    }
    if (served && !stopped) {
        ServiceLog::Print(ServiceLog::ERROR, "lost the %s (%s): exiting", busName, error.c_str());
    }
    // Undone in order: nothing more is played or observed, every claimed type is
    // disabled, then the plug-in's object goes.
    LinuxPlatform::SetPresenceObserver({});
    if (player != nullptr) {
        player->Stop();
    }
    service.ReleaseAll();
    plugin.Destroy(algo);
    if (stopped) {
        ServiceLog::Print(ServiceLog::INFO, "stopped");
        return Tools::kExitOk;
    }
    return Tools::kExitFailure;
}

}  // namespace Tarvo::Motiond
