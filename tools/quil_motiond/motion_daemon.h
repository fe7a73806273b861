// One run of the service: the Linux layer (or a replayed trace) set up, the plug-in
// loaded, the object served on the bus until a stop is asked for or the bus goes away,
// and everything undone in order.
#pragma once

#include <memory>
#include <string>

#include "motiond_options.h"
#include "stop_signals.h"

namespace Tarvo::Motiond {

class MotionDaemon {
public:
    explicit MotionDaemon(const MotiondOptions& options) : options_(options) {}

    // The exit status: 0 after a stop, 1 when the bus or the plug-in fails, 2 for a trace
    // that cannot be played.
    int Run(Tools::StopSignals& stop);

private:
    const MotiondOptions& options_;
};

}  // namespace Tarvo::Motiond
