// quil-replay: plays motion traces through the Quil Motion plug-in.
#include <cstdio>
#include <string>
#include <vector>

#include "host_platform.h"
#include "output_writer.h"
#include "plugin_loader.h"
#include "replay_options.h"
#include "replayer.h"
#include "trace_files.h"

namespace {
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kLastLogLevel = 7;  // fatal; above it nothing is written
}  // namespace

int main(int argc, char** argv)
{
    using namespace Tarvo::Replay;
    ReplayOptions options;
    std::string error;
    if (!ReplayOptions::Parse(std::vector<std::string>(argv + 1, argv + argc), options, error)) {
        std::fprintf(stderr, "quil-replay: %s\n(try --help)\n", error.c_str());
        return kExitUsage;
    }
    if (options.help) {
        std::fputs(ReplayOptions::Usage(), stdout);
        return kExitOk;
    }
    if (options.version) {
        std::printf("quil-replay %s\n", QUIL_VERSION);
        return kExitOk;
    }

    // Everything is parsed before anything runs; records are read again while playing.
    TraceFiles traces(options.traces);
    if (!traces.Check(error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return kExitUsage;
    }

    Tarvo::Host::HostPlatform::SetLogLevel(options.logLevel);
    PluginLoader plugin;
    if (!plugin.Load(options.plugin, error)) {
        std::fprintf(stderr, "quil-replay: %s\n", error.c_str());
        return kExitFailure;
    }
    OutputWriter writer(stdout, options.json);
    ReplaySettings settings;
    settings.realtime = options.realtime;
    settings.speed = options.speed;
    settings.syncEveryRecord = options.syncEveryRecord;
    settings.stampedReports = options.json;
    settings.logging = options.logLevel <= kLastLogLevel;
    Replayer replayer(plugin, writer, settings);
    if (!replayer.Run(traces, error)) {
        writer.Flush();
        std::fprintf(stderr, "quil-replay: %s\n", error.c_str());
        return kExitFailure;
    }
    return kExitOk;
}
