#include "replay_options.h"

#include <cmath>
#include <cstdlib>
#include <map>

namespace Tarvo::Replay {

const char* ReplayOptions::Usage()
{
    return "usage: quil-replay [options] TRACE...\n"
           "Plays motion traces (host calls, sensor samples, touch events, device faults)\n"
           "through the Quil Motion plug-in and prints what the host observes.\n"
           "TRACE is a file path, or - for standard input; several are played in order.\n"
           "\n"
           "options:\n"
           "  --log LEVEL         write platform log lines at LEVEL and above to stderr:\n"
           "                      debug, info, warn, error, fatal or off (default)\n"
           "  --json              print JSON Lines instead of text\n"
           "  --realtime[=SPEED]  pace records by their @MS time stamps (SPEED 1.0)\n"
           "  --sync-every-record wait for the library after every record, the services'\n"
           "                      threads delivering (slower; the output is the same)\n"
           "  --plugin PATH       load this plug-in instead of the one beside the program\n"
           "  --records           print the records as read, as JSON Lines, and play\n"
           "                      nothing (each file's leading comments first)\n"
           "  --help              show this help\n"
           "  --version           show the version\n"
           "\n"
           "exit status: 0 after a complete run, 2 for a usage or trace error (nothing is\n"
           "run), 1 for any other failure.\n";
}

bool ReplayOptions::Parse(const std::vector<std::string>& args, ReplayOptions& options,
                          std::string& error)
{
    static const std::map<std::string, int> kLevels = {{"debug", 3}, {"info", 4},  {"warn", 5},
                                                       {"error", 6}, {"fatal", 7}, {"off", 8}};
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--version") {
            options.version = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--log" || arg.rfind("--log=", 0) == 0) {
            std::string level;
            if (arg == "--log") {
                if (++i == args.size()) {
                    error = "--log needs a level";
                    return false;
                }
                level = args[i];
            } else {
                level = arg.substr(6);
            }
            auto found = kLevels.find(level);
            if (found == kLevels.end()) {
                error = "unknown log level '" + level + "' (debug, info, warn, error, fatal, off)";
                return false;
            }
            options.logLevel = found->second;
        } else if (arg == "--realtime" || arg.rfind("--realtime=", 0) == 0) {
            options.realtime = true;
            if (arg != "--realtime") {
                const std::string speed = arg.substr(11);
                char* end = nullptr;
                options.speed = std::strtod(speed.c_str(), &end);
                if (speed.empty() || *end != '\0' || !std::isfinite(options.speed) ||
                    options.speed <= 0.0) {
                    error = "--realtime needs a positive speed, got '" + speed + "'";
                    return false;
                }
                if (options.speed < kMinSpeed || options.speed > kMaxSpeed) {
                    error = "--realtime speed '" + speed + "' is out of range (0.001 to 1000000)";
                    return false;
                }
            }
        } else if (arg == "--sync-every-record") {
            options.syncEveryRecord = true;
        } else if (arg == "--records") {
            options.records = true;
        } else if (arg == "--plugin") {
            if (++i == args.size()) {
                error = "--plugin needs a path";
                return false;
            }
            options.plugin = args[i];
        } else if (arg.size() > 1 && arg[0] == '-') {
            error = "unknown option '" + arg + "'";
            return false;
        } else {
            options.traces.push_back(arg);
        }
    }
    if (options.traces.empty() && !options.help && !options.version) {
        error = "no trace given";
        return false;
    }
    return true;
}

}  // namespace Tarvo::Replay
