#include "replay_options.h"

#include "option_parser.h"

namespace Tarvo::Replay {

const char* ReplayOptions::Usage()
{
    return "usage: quil-replay [options] TRACE...\n"
           "Plays motion traces (host calls, sensor samples, touch events, device faults)\n"
           "through the Quil Motion plug-in and prints what the host observes.\n"
           "TRACE is a file path, or - for standard input; several are played in order.\n"
           "\n"
           "options:\n"
           "  --log LEVEL          write platform log lines at LEVEL and above to stderr:\n"
           "                       debug, info, warn, error, fatal or off (default)\n"
           "  --json               print JSON Lines instead of text\n"
           "  --realtime[=SPEED]   pace records by their @MS time stamps (SPEED 1.0)\n"
           "  --sync-every-record  wait for the library after every record, the services'\n"
           "                       threads delivering (slower; the output is the same)\n"
           "  --plugin PATH        load this plug-in instead of the one beside the program\n"
           "  --records            print the records as read, as JSON Lines, and play\n"
           "                       nothing (each file's leading comments first)\n"
           "  --help               show this help\n"
           "  --version            show the version\n"
           "\n"
           "exit status: 0 after a complete run, 2 for a usage or trace error (nothing is\n"
           "run), 1 for any other failure.\n";
}

ReplaySettings ReplayOptions::Settings() const
{
    constexpr int kLastLogLevel = 7;  // fatal; above it nothing is written
    ReplaySettings settings;
    settings.realtime = realtime;
    settings.speed = speed;
    settings.syncEveryRecord = syncEveryRecord;
    settings.stampedReports = json;
    settings.logging = logLevel <= kLastLogLevel;
    return settings;
}

bool ReplayOptions::Parse(const std::vector<std::string>& args, ReplayOptions& options,
                          std::string& error)
{
    Tools::OptionParser parser;
    parser.Flag("--json", options.json);
    parser.Flag("--sync-every-record", options.syncEveryRecord);
    parser.Flag("--records", options.records);
    parser.LogLevel("--log", options.logLevel);
    parser.Path("--plugin", options.plugin);
    parser.OptionalValue(
        "--realtime", [&options](const std::optional<std::string>& value, std::string& problem) {
            options.realtime = true;
            // Slower or faster speeds could not pace the largest stamps.
            return !value.has_value() || Tools::ParseNumber(*value, kMinSpeed, kMaxSpeed,
                                                            options.speed, problem, "speed");
        });
    if (!parser.Parse(args, error)) {
        return false;
    }
    options.help = parser.Help();
    options.version = parser.Version();
    options.traces = parser.Operands();
    if (options.traces.empty() && !options.help && !options.version) {
        error = "no trace given";
        return false;
    }
    return true;
}

}  // namespace Tarvo::Replay
