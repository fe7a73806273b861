// Command-line options of quil-live.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tarvo::Live {

struct LiveOptions {
    std::vector<int32_t> enable;  // empty: everything the device supports
    bool json = false;
    std::string record;       // trace file to write; empty: none
    std::string sysfsRoot;    // empty: the platform's default (/sys)
    std::string touchDevice;  // empty: the first touchscreen udev knows
    int32_t displayWidth = 1344;
    int32_t displayHeight = 2772;
    int logLevel = 8;  // the library's lines: 3 debug .. 7 fatal, 8 off
    bool syslog = false;
    double duration = 0.0;  // seconds; 0 runs until SIGINT or SIGTERM
    std::string plugin;     // empty: next to the executable
    bool help = false;
    bool version = false;

    // False with `error` set on a usage error.
    static bool Parse(const std::vector<std::string>& args, LiveOptions& options,
                      std::string& error);
    static const char* Usage();
};

}  // namespace Tarvo::Live
