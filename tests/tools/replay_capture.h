// One replay of parsed records through a loaded plug-in, captured as text: what the
// host printed, then the platform log, for tests that compare two ways of playing.
#pragma once

#include <string>
#include <vector>

#include "plugin_loader.h"
#include "trace_parser.h"
#include "trace_record.h"

namespace Tarvo::Replay::Test {

using Tools::PluginLoader;
using Tools::TraceParser;
using Tools::TraceRecord;

enum class ReplayForm { TEXT, JSON, DEBUG_LOG };

// Standard output, then "--- log" and the log lines (all of them with DEBUG_LOG), of
// one replay; a failed run starts with "failed: " and its error. The workers' start
// lines are left out: the pointer worker's races the Enable that starts it, the sensor
// worker's the plug-in's loading, however a trace is played.
std::string CaptureReplay(const PluginLoader& plugin, const std::vector<TraceRecord>& records,
                          ReplayForm form, bool syncEveryRecord);

}  // namespace Tarvo::Replay::Test
