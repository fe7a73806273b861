// One run of the service: the Linux layer (or a replayed trace) set up, the plug-in
// loaded, the object served on the bus until a stop is asked for or the bus goes away,
// and everything undone in order.
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <memory>
#include <string>
#include <vector>

#include "bus_loop.h"
#include "i_motion_algo.h"
#include "motiond_options.h"
#include "plugin_loader.h"
#include "presence_mailbox.h"
#include "report_queue.h"
#include "stop_signals.h"
#include "trace_player.h"

namespace Tarvo::Motiond {

class MotionService;

class MotionDaemon {
public:
    explicit MotionDaemon(const MotiondOptions& options) : options_(options) {}

    // The exit status: 0 after a stop, 1 when the bus or the plug-in fails, 2 for a trace
    // that cannot be played.
    int Run(Tools::StopSignals& stop);

private:
    // Each step logs its own failure and says whether the run can go on.
    bool OpenReplay();
    bool ConnectBus();
    bool LoadPlugin();
    // Publishes the object, takes the bus name and watches reports, presence changes and
    // the stop request on `loop`; false with what failed in `error`.
    bool StartServing(MotionService& service, Tools::Bus::BusLoop& loop, Tools::StopSignals& stop,
                      std::string& error);
    void DeliverReports(MotionService& service);
    const char* BusName() const { return options_.session ? "session bus" : "system bus"; }

    const MotiondOptions& options_;
    std::unique_ptr<TracePlayer> player_;  // with --replay only
    std::unique_ptr<sdbus::IConnection> bus_;
    Tools::PluginLoader plugin_;
    Quil::IMotionAlgo* algo_ = nullptr;
    std::shared_ptr<ReportQueue> reports_;
    PresenceMailbox presence_;
    std::vector<Quil::MotionData> batch_;  // the reports the loop takes at a time
};

}  // namespace Tarvo::Motiond
