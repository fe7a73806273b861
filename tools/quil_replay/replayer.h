// Plays parsed records into the plug-in, one at a time: each record is played to
// completion (every sample and touch it caused handled, every report printed) before
// the next, which makes the output the same on every run.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "output_writer.h"
#include "plugin_loader.h"
#include "replay_host_callback.h"
#include "trace_record.h"

namespace Tarvo::Replay {

class Replayer {
public:
    Replayer(const PluginLoader& plugin, OutputWriter& writer, bool realtime, double speed);

    // False (with `error`) when the library cannot be created or stops answering.
    bool Run(const std::vector<TraceRecord>& records, std::string& error);

private:
    void Play(Quil::IMotionAlgo& algo, const TraceRecord& record);
    void WaitUntilDue(const TraceRecord& record, const TraceRecord* previous);

    const PluginLoader& plugin_;
    OutputWriter& writer_;
    std::shared_ptr<ReplayHostCallback> host_;
    bool realtime_;
    double speed_;
};

}  // namespace Tarvo::Replay
