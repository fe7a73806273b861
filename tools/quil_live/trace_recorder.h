// Writes what a live run fed the plug-in as a trace that quil-replay plays back: the
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

namespace Tarvo::Live {

class TraceRecorder {
public:
    // `out` is written line by line and flushed, so a killed run leaves a usable trace.
    explicit TraceRecorder(std::FILE* out);

    // Milliseconds since construction; never decreases between lines.
    double Now();

    void Comment(const std::string& text);
    void DeviceSensors(const std::vector<int32_t>& sensorTypeIds);
    void HostCall(const std::string& call, int32_t type);
    // Return the stamp written, for reports caused by the record.
    double Sample(const Linux::SampleRecord& sample);
    double Touch(const Linux::TouchRecord& touch);

    // The record line as written (without the stamp), for tests and other writers.
    static std::string SampleLine(const Linux::SampleRecord& sample);
    static std::string TouchLine(const Linux::TouchRecord& touch);

private:
    double WriteLocked(const std::string& line);

    std::mutex mutex_;
    std::FILE* out_;
    std::chrono::steady_clock::time_point start_;
    double last_ = 0.0;
};

}  // namespace Tarvo::Live
