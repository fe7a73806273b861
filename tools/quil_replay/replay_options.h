// Command-line options of quil-replay.
#pragma once

#include <string>
#include <vector>

#include "replayer.h"

namespace Tarvo::Replay {

struct ReplayOptions {
    // --realtime speeds outside this range could not pace the largest stamps.
    static constexpr double kMinSpeed = 1e-3;
    static constexpr double kMaxSpeed = 1e6;

    int logLevel = 8;  // platform log level: 3 debug .. 7 fatal, 8 off
    bool json = false;
    bool realtime = false;
    double speed = 1.0;
    bool syncEveryRecord = false;
    bool records = false;  // print the parsed records instead of playing them
    bool help = false;
    bool version = false;
    std::string plugin;  // empty: next to the executable
    std::vector<std::string> traces;

    // What the replayer is to do.
    ReplaySettings Settings() const;

    // False with `error` set on a usage error.
    static bool Parse(const std::vector<std::string>& args, ReplayOptions& options,
                      std::string& error);
    static const char* Usage();
};

}  // namespace Tarvo::Replay
