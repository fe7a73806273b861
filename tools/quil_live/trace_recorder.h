// Records what a live run fed the plug-in as a trace that quil-replay plays back: the
// device's sensor list, the host's enable/disable calls, every sample and every touch,
// stamped in milliseconds since the recording started. Thread-safe: samples and touches
// arrive on the platform's threads.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "linux_platform.h"
#include "trace_writer.h"

namespace Tarvo::Live {

class TraceRecorder {
public:
    // Every record is flushed at once, so a killed run still leaves a usable trace.
    explicit TraceRecorder(std::FILE* out);

    // Milliseconds since construction.
    double Now() const;

    // A comment, then the sensor list the replay's device is to have, so that it
    // refuses exactly the sensors this device lacks.
    void Header(const std::string& comment, const std::vector<int32_t>& sensorTypeIds);
    void Enable(int32_t type);
    void Disable(int32_t type);
    // Each returns the stamp it wrote.
    double Sample(const Linux::SampleRecord& sample);
    double Touch(const Linux::TouchRecord& touch);

    // False once any write has failed.
    bool Ok();

private:
    std::mutex mutex_;
    std::FILE* out_;
    Tools::TraceWriter writer_;
    std::chrono::steady_clock::time_point start_;
};

}  // namespace Tarvo::Live
