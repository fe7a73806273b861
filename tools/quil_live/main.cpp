// quil-live: runs the Quil Motion plug-in on a Linux device's own sensors and
// touchscreen and prints what it recognises, as quil-replay prints a trace.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "linux_platform.h"
#include "live_options.h"
#include "output_writer.h"
#include "plugin_loader.h"
#include "replay_host_callback.h"
#include "sensor_service_client.h"
#include "stop_signals.h"
#include "trace_recorder.h"

namespace {

using Tarvo::Linux::LinuxPlatform;
using Tarvo::Live::LiveOptions;
using Tarvo::Live::TraceRecorder;
using Tarvo::Replay::OutputWriter;
using Tarvo::Replay::PluginLoader;
using Tarvo::Replay::ReplayHostCallback;

constexpr int kExitOk = 0;
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// What each motion type needs from the device.
struct TypeNeeds {
    int32_t type;
    std::vector<int32_t> sensors;
    bool touch;
};
const std::vector<TypeNeeds> kTypeNeeds = {
    {0, {SENSOR_TYPE_ID_ACCELEROMETER}, false},
    {2, {SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_PROXIMITY}, false},
    {3, {SENSOR_TYPE_ID_ACCELEROMETER}, false},
    {4, {SENSOR_TYPE_ID_ACCELEROMETER}, false},
    {6, {SENSOR_TYPE_ID_ACCELEROMETER}, false},
    {7,
     {SENSOR_TYPE_ID_ACCELEROMETER, SENSOR_TYPE_ID_PROXIMITY, SENSOR_TYPE_ID_AMBIENT_LIGHT},
     false},
    {9, {}, true},
    {10, {}, true},
    {11, {}, true},
    {12, {}, true},
    {13, {}, true},
};

std::vector<int32_t> SupportedTypes(const std::vector<int32_t>& sensors, bool touch)
{
    std::vector<int32_t> types;
    for (const TypeNeeds& needs : kTypeNeeds) {
        const bool sensorsPresent =
            std::all_of(needs.sensors.begin(), needs.sensors.end(), [&sensors](int32_t id) {
                return std::find(sensors.begin(), sensors.end(), id) != sensors.end();
            });
        if (sensorsPresent && (!needs.touch || touch)) {
            types.push_back(needs.type);
        }
    }
    return types;
}

std::string Join(const std::vector<int32_t>& values)
{
    std::string text;
    for (int32_t value : values) {
        text += (text.empty() ? "" : ",") + std::to_string(value);
    }
    return text.empty() ? "none" : text;
}

std::string SensorNames(const std::vector<int32_t>& sensors)
{
    std::string text;
    for (int32_t id : sensors) {
        const char* name = id == SENSOR_TYPE_ID_ACCELEROMETER   ? "accelerometer"
                           : id == SENSOR_TYPE_ID_AMBIENT_LIGHT ? "light"
                                                                : "proximity";
        text += (text.empty() ? "" : ", ") + std::string(name);
    }
    return text.empty() ? "none" : text;
}

}  // namespace

int main(int argc, char** argv)
{
    // First: a stop asked for while the device is still being looked at ends the run.
    Tarvo::Tools::StopSignals& stop = Tarvo::Tools::StopSignals::Install();
    // A pipe sees every report at once.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    LiveOptions options;
    std::string error;
    if (!LiveOptions::Parse(std::vector<std::string>(argv + 1, argv + argc), options, error)) {
        std::fprintf(stderr, "quil-live: %s\n(try --help)\n", error.c_str());
        return kExitUsage;
    }
    if (options.help) {
        std::fputs(LiveOptions::Usage(), stdout);
        return kExitOk;
    }
    if (options.version) {
        std::printf("quil-live %s\n", QUIL_VERSION);
        return kExitOk;
    }

    LinuxPlatform::SetLogLevel(options.logLevel);
    LinuxPlatform::SetLogDestination(options.syslog ? Tarvo::Linux::LogDestination::SYSLOG
                                                    : Tarvo::Linux::LogDestination::STDERR);
    if (!options.sysfsRoot.empty()) {
        LinuxPlatform::SetSysfsRoot(options.sysfsRoot);
    }
    LinuxPlatform::SetTouchDevice(options.touchDevice);
    LinuxPlatform::SetDisplaySize({options.displayWidth, options.displayHeight});

    const std::vector<int32_t> sensors = LinuxPlatform::PresentSensors();
    const std::string touchscreen = LinuxPlatform::FindTouchscreen();
    if (!options.touchDevice.empty() && touchscreen.empty()) {
        std::fprintf(stderr, "quil-live: %s is not a touchscreen that can be read\n",
                     options.touchDevice.c_str());
    }
    std::vector<int32_t> types = options.enable;
    if (types.empty()) {
        types = SupportedTypes(sensors, !touchscreen.empty());
        if (types.empty()) {
            std::fprintf(stderr,
                         "quil-live: nothing to recognise: no sensors and no touchscreen found "
                         "(see --sysfs-root, --touch-device)\n");
            return kExitFailure;
        }
    }
    std::fprintf(stderr, "quil-live: sensors: %s; touchscreen: %s; enabling %s\n",
                 SensorNames(sensors).c_str(), touchscreen.empty() ? "none" : touchscreen.c_str(),
                 Join(types).c_str());

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> recordFile(nullptr, &std::fclose);
    std::unique_ptr<TraceRecorder> recorder;
    if (!options.record.empty()) {
        recordFile.reset(std::fopen(options.record.c_str(), "w"));
        if (recordFile == nullptr) {
            std::fprintf(stderr, "quil-live: cannot write %s: %s\n", options.record.c_str(),
                         std::strerror(errno));
            return kExitFailure;
        }
        recorder = std::make_unique<TraceRecorder>(recordFile.get());
        recorder->Header("recorded by quil-live " QUIL_VERSION "; touchscreen " +
                             (touchscreen.empty() ? std::string("none") : touchscreen) +
                             ", display " + std::to_string(options.displayWidth) + "x" +
                             std::to_string(options.displayHeight),
                         sensors);
    }

    PluginLoader plugin;
    if (!plugin.Load(options.plugin, error)) {
        std::fprintf(stderr, "quil-live: %s\n", error.c_str());
        return kExitFailure;
    }
    OutputWriter writer(stdout, options.json);
    auto callback = std::make_shared<ReplayHostCallback>(writer);
    TraceRecorder* rec = recorder.get();
    const auto start = std::chrono::steady_clock::now();
    const auto now = [rec, start]() {
        if (rec != nullptr) {
            return rec->Now();
        }
        const auto elapsed = std::chrono::steady_clock::now() - start;
        return static_cast<double>(
                   std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count()) /
               1000.0;
    };
    // Reports carry the stamp of the latest sample or touch, as quil-replay's carry that of
    // the record that caused them.
    LinuxPlatform::SetSampleObserver([rec, callback, now](const Tarvo::Linux::SampleRecord& s) {
        callback->SetStamp(rec != nullptr ? rec->Sample(s) : now());
    });
    LinuxPlatform::SetTouchObserver([rec, callback, now](const Tarvo::Linux::TouchRecord& t) {
        callback->SetStamp(rec != nullptr ? rec->Touch(t) : now());
    });
    const auto stamp = [now]() { return std::optional<double>(now()); };

    // From here on there is something to undo: a stop disables and destroys first.
    stop.Arm();
    Tarvo::Quil::IMotionAlgo* algo = plugin.Create();
    if (algo == nullptr) {
        std::fprintf(stderr, "quil-live: the plug-in could not create its service\n");
        return kExitFailure;
    }
    algo->RegisterCallback(callback);
    for (int32_t type : types) {
        // Recorded first, so every sample it brings follows it in the trace.
        if (rec != nullptr) {
            rec->Enable(type);
        }
        writer.HostCall("enable", type, algo->Enable(type), stamp());
    }

    stop.Wait(options.duration);

    for (int32_t type : types) {
        const int result = algo->Disable(type);
        if (rec != nullptr) {
            rec->Disable(type);
        }
        writer.HostCall("disable", type, result, stamp());
    }
    plugin.Destroy(algo);
    LinuxPlatform::SetSampleObserver({});
    LinuxPlatform::SetTouchObserver({});
    writer.Flush();
    if (rec != nullptr && !rec->Ok()) {
        std::fprintf(stderr, "quil-live: writing %s failed\n", options.record.c_str());
        return kExitFailure;
    }
    return kExitOk;
}
