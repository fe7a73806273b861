// quil-replay: plays motion traces through the Quil Motion plug-in.
#include <cstdio>
#include <string>
#include <vector>

#include "host_platform.h"
#include "output_writer.h"
#include "plugin_loader.h"
#include "record_printer.h"
#include "replay_options.h"
#include "replayer.h"
#include "trace_files.h"

namespace {
constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;
constexpr int kLastLogLevel = 7;  // fatal; above it nothing is written

// The checked records as JSON Lines, each file's heading before its first record.
int PrintRecords(Tarvo::Replay::TraceFiles& traces)
{
    using Tarvo::Replay::RecordPrinter;
    Tarvo::Replay::TraceRecord record;
    std::string error;
    std::string file;
    bool first = true;
    while (traces.Next(record, error)) {
        if (first || record.file != file) {
            first = false;
            file = record.file;
            std::printf("%s\n", RecordPrinter::Heading(file, traces.Heading()).c_str());
        }
        std::printf("%s\n", RecordPrinter::Record(record).c_str());
    }
    if (!error.empty()) {
        std::fprintf(stderr, "quil-replay: %s\n", error.c_str());
        return kExitFailure;
    }
    return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}
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

    if (options.records) {
        return PrintRecords(traces);
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
