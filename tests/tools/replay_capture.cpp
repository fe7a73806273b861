#include "replay_capture.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "host_platform.h"
#include "output_writer.h"
#include "replayer.h"

namespace Tarvo::Replay::Test {
namespace {

std::string WithoutWorkerStart(const std::string& log)
{
    std::istringstream lines(log);
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        if (line.find(": in AlgorithmLoop, ") == std::string::npos) {
            kept += line + "\n";
        }
    }
    return kept;
}

}  // namespace

std::string CaptureReplay(const PluginLoader& plugin, const std::vector<TraceRecord>& records,
                          ReplayForm form, bool syncEveryRecord)
{
    using Host::HostPlatform;
    char* buffer = nullptr;
    size_t size = 0;
    std::FILE* out = open_memstream(&buffer, &size);
    std::string log;
    HostPlatform::SetLogSink(
        [&log](const Host::LogLine& line) { log += Host::FormatLogLine(line) + "\n"; });
    HostPlatform::SetLogLevel(form == ReplayForm::DEBUG_LOG ? 3 : 8);
    std::string error;
    bool ok = false;
    {
        OutputWriter writer(out, form == ReplayForm::JSON);
        ReplaySettings settings;
        settings.syncEveryRecord = syncEveryRecord;
        settings.stampedReports = form == ReplayForm::JSON;
        settings.logging = form == ReplayForm::DEBUG_LOG;
        ok = Replayer(plugin, writer, settings).Run(records, error);
    }
    HostPlatform::Reset();
    std::fclose(out);
    std::string output(buffer, size);
    std::free(buffer);
    return (ok ? "" : "failed: " + error + "\n") + output + "--- log\n" + WithoutWorkerStart(log);
}

}  // namespace Tarvo::Replay::Test
