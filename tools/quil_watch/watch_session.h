// One run of quil-watch: connect, claim, then print each motion (monitor) or run the
// command for each matching one (on) until Ctrl-C or SIGTERM; release at the end.
#pragma once

#include "stop_signals.h"
#include "watch_options.h"

namespace Tarvo::Watch {

class WatchSession {
public:
    explicit WatchSession(const WatchOptions& options) : options_(options) {}

    // The exit status: 0 after a stop, 1 when nothing could be claimed or the bus went
    // away.
    int Run(Tools::StopSignals& stop);

private:
    const WatchOptions& options_;
};

}  // namespace Tarvo::Watch
