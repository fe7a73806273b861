// One run of the plug-in on this device: what the device has, what to enable, the
// optional recording, and the plug-in itself from its first Enable to its Destroy.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host_callback.h"
#include "live_options.h"
#include "output_writer.h"
#include "plugin_loader.h"
#include "trace_recorder.h"

namespace Tarvo::Live {

class LiveSession {
public:
    explicit LiveSession(const LiveOptions& options);
    ~LiveSession();
    LiveSession(const LiveSession&) = delete;
    LiveSession& operator=(const LiveSession&) = delete;

    // Sets up the platform layer, looks at the device and picks the types to enable;
    // says on standard error what was found. False with `error` set when there is
    // nothing to recognise or the recording cannot be written.
    bool Prepare(std::string& error);
    // Loads the plug-in, makes its object and enables the types; false with `error`.
    bool Start(std::string& error);
    // Disables every type, destroys the object and closes the output; false when the
    // recording could not be written.
    bool Stop();

private:
    void OpenRecording(const std::vector<int32_t>& sensors, const std::string& touchscreen);
    double Now() const;

    const LiveOptions& options_;
    std::vector<int32_t> types_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> recordFile_{nullptr, &std::fclose};
    std::unique_ptr<TraceRecorder> recorder_;
    Tools::PluginLoader plugin_;
    Tools::OutputWriter writer_;
    std::shared_ptr<Tools::HostCallback> callback_;
    Quil::IMotionAlgo* algo_ = nullptr;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace Tarvo::Live
