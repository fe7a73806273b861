// Plays records into the plug-in. The output is the same on every run: before any
// record whose output could otherwise come out in a different order, the replayer
// waits until the library's workers have handled everything played so far.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host_callback.h"
#include "output_writer.h"
#include "plugin_loader.h"
#include "trace_record.h"

namespace Tarvo::Replay {

using Tools::HostCallback;
using Tools::OutputWriter;
using Tools::PluginLoader;
using Tools::RecordKind;
using Tools::RecordSource;
using Tools::TraceRecord;

struct ReplaySettings {
    bool realtime = false;
    double speed = 1.0;
    // Wait for the workers after every record, as a reference for the faster default.
    bool syncEveryRecord = false;
    // Reports carry the stamp of the record that caused them (JSON output).
    bool stampedReports = false;
    // Platform log lines are written: they come from the delivery threads and the
    // workers alike, so every record is played to completion.
    bool logging = false;
};

class Replayer {
public:
    Replayer(const PluginLoader& plugin, OutputWriter& writer, const ReplaySettings& settings);

    // False (with `error`) when the library cannot be created, stops answering, or the
    // source fails.
    bool Run(RecordSource& source, std::string& error);
    bool Run(const std::vector<TraceRecord>& records, std::string& error);

private:
    // Which worker a record's effects run on.
    enum class Channel { NONE, SENSOR, POINTER, OTHER };

    static Channel ChannelOf(const TraceRecord& record);
    // A record that may be read ahead of the ones before it are played.
    bool Burstable(const TraceRecord& record) const;
    // Waits if `record` needs it, paces it, then plays it; false if the wait failed.
    bool PlayInTurn(Quil::IMotionAlgo& algo, const TraceRecord& record, std::string& error);
    bool NeedsSync(const TraceRecord& record) const;
    bool Sync(std::string& error);
    void Play(Quil::IMotionAlgo& algo, const TraceRecord& record);

    const PluginLoader& plugin_;
    OutputWriter& writer_;
    std::shared_ptr<HostCallback> host_;
    ReplaySettings settings_;
    Channel pending_ = Channel::NONE;  // where work may still be in flight
    size_t inFlight_ = 0;              // records played since the last sync
    std::optional<double> stamp_;      // of the last record played
    std::string lastFile_;             // where the last record played came from
    int lastLine_ = 0;
    std::chrono::steady_clock::time_point start_;  // of the run, for --realtime
    std::vector<TraceRecord> burst_;               // records read ahead, storage reused
};

}  // namespace Tarvo::Replay
