// Command-line options of quil-motiond.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tarvo::Motiond {

struct MotiondOptions {
    static constexpr const char* kDefaultGestureGroup = "quil-gestures";

    bool session = false;  // the session bus instead of the system bus
    std::string replay;    // a trace to play instead of the devices; empty: the devices
    std::string gestureGroup = kDefaultGestureGroup;
    std::string sysfsRoot;    // empty: the platform's default (/sys)
    std::string touchDevice;  // empty: search /dev/input
    int32_t displayWidth = 1344;
    int32_t displayHeight = 2772;
    int logLevel = 4;         // the service's lines: 3 debug, 4 info (default) .. 8 off
    int libraryLogLevel = 8;  // the library's own lines, off by default
    std::string plugin;       // empty: beside the program, else the installed one
    bool help = false;
    bool version = false;

    // False with `error` set on a usage error.
    static bool Parse(const std::vector<std::string>& args, MotiondOptions& options,
                      std::string& error);
    static const char* Usage();
};

}  // namespace Tarvo::Motiond
