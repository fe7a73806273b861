// quil-replay: plays motion traces through the Quil Motion plug-in.
#include <cstdio>
#include <string>
#include <vector>

#include "exit_codes.h"
#include "host_platform.h"
#include "option_parser.h"
#include "output_writer.h"
#include "plugin_loader.h"
#include "record_printer.h"
#include "replay_options.h"
#include "replayer.h"
#include "trace_files.h"

int main(int argc, char** argv)
{
    using namespace Tarvo::Replay;
    using namespace Tarvo::Tools;
    ReplayOptions options;
    std::string error;
    const bool parsed =
        ReplayOptions::Parse(std::vector<std::string>(argv + 1, argv + argc), options, error);
    if (auto done = AnswerCommandLine("quil-replay", parsed, error, options.help, options.version,
                                      ReplayOptions::Usage())) {
        return *done;
    }

    // Everything is parsed before anything runs; records are read again while playing.
    TraceFiles traces(options.traces);
    if (!traces.Check(error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return kExitUsage;
    }
    if (options.records) {
        if (!RecordPrinter::PrintAll(traces, stdout, error)) {
            std::fprintf(stderr, "quil-replay: %s\n", error.c_str());
            return kExitFailure;
        }
        return kExitOk;
    }

    Tarvo::Host::HostPlatform::SetLogLevel(options.logLevel);
    PluginLoader plugin;
    if (!plugin.Load(options.plugin, error)) {
        std::fprintf(stderr, "quil-replay: %s\n", error.c_str());
        return kExitFailure;
    }
    OutputWriter writer(stdout, options.json);
    Replayer replayer(plugin, writer, options.Settings());
    if (!replayer.Run(traces, error)) {
        writer.Flush();
        std::fprintf(stderr, "quil-replay: %s\n", error.c_str());
        return kExitFailure;
    }
    return kExitOk;
}
