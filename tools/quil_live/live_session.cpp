#include "live_session.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>

#include "linux_platform.h"
#include "motion_needs.h"

namespace Tarvo::Live {
namespace {

using Linux::LinuxPlatform;

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
        text += (text.empty() ? "" : ", ") + Tools::MotionNeeds::SensorName(id);
    }
    return text.empty() ? "none" : text;
}

}  // namespace

LiveSession::LiveSession(const LiveOptions& options)
    : options_(options),
      writer_(stdout, options.json),
      callback_(std::make_shared<Tools::HostCallback>(writer_))
{
}

LiveSession::~LiveSession()
{
    LinuxPlatform::SetSampleObserver({});
    LinuxPlatform::SetTouchObserver({});
}

bool LiveSession::Prepare(std::string& error)
{
    LinuxPlatform::SetLogLevel(options_.logLevel);
    LinuxPlatform::SetLogDestination(options_.syslog ? Linux::LogDestination::SYSLOG
                                                     : Linux::LogDestination::STDERR);
    if (!options_.sysfsRoot.empty()) {
        LinuxPlatform::SetSysfsRoot(options_.sysfsRoot);
    }
    LinuxPlatform::SetTouchDevice(options_.touchDevice);
    LinuxPlatform::SetDisplaySize({options_.displayWidth, options_.displayHeight});

    const std::vector<int32_t> sensors = LinuxPlatform::PresentSensors();
    const std::string touchscreen = LinuxPlatform::FindTouchscreen();
    if (!options_.touchDevice.empty() && touchscreen.empty()) {
        std::fprintf(stderr, "quil-live: %s is not a touchscreen that can be read\n",
                     options_.touchDevice.c_str());
    }
    types_ = options_.enable;
    if (types_.empty()) {
        types_ = Tools::MotionNeeds::Recognisable(sensors, !touchscreen.empty());
        if (types_.empty()) {
            error =
                "nothing to recognise: no sensors and no touchscreen found (see "
                "--sysfs-root, --touch-device)";
            return false;
        }
    }
    std::fprintf(stderr, "quil-live: sensors: %s; touchscreen: %s; enabling %s\n",
                 SensorNames(sensors).c_str(), touchscreen.empty() ? "none" : touchscreen.c_str(),
                 Join(types_).c_str());
    if (!options_.record.empty()) {
        recordFile_.reset(std::fopen(options_.record.c_str(), "w"));
        if (recordFile_ == nullptr) {
            error = "cannot write " + options_.record + ": " + std::strerror(errno);
            return false;
        }
        OpenRecording(sensors, touchscreen);
    }
    return true;
}

void LiveSession::OpenRecording(const std::vector<int32_t>& sensors, const std::string& touchscreen)
{
    recorder_ = std::make_unique<TraceRecorder>(recordFile_.get());
    recorder_->Header("recorded by quil-live " QUIL_VERSION "; touchscreen " +
                          (touchscreen.empty() ? std::string("none") : touchscreen) + ", display " +
                          std::to_string(options_.displayWidth) + "x" +
                          std::to_string(options_.displayHeight),
                      sensors);
}

double LiveSession::Now() const
{
    if (recorder_ != nullptr) {
        return recorder_->Now();
    }
    const auto elapsed = std::chrono::steady_clock::now() - start_;
    return static_cast<double>(
               std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count()) /
           1000.0;
}

bool LiveSession::Start(std::string& error)
{
    if (!plugin_.Load(options_.plugin, error)) {
        return false;
    }
    // Reports carry the stamp of the latest sample or touch, as quil-replay's carry that
    // of the record that caused them.
    TraceRecorder* recorder = recorder_.get();
    LinuxPlatform::SetSampleObserver([this, recorder](const Linux::SampleRecord& sample) {
        callback_->SetStamp(recorder != nullptr ? recorder->Sample(sample) : Now());
    });
    LinuxPlatform::SetTouchObserver([this, recorder](const Linux::TouchRecord& touch) {
        callback_->SetStamp(recorder != nullptr ? recorder->Touch(touch) : Now());
    });
    algo_ = plugin_.Create();
    if (algo_ == nullptr) {
        error = "the plug-in could not create its service";
        return false;
    }
    algo_->RegisterCallback(callback_);
    for (int32_t type : types_) {
        // Recorded first, so every sample it brings follows it in the trace.
        if (recorder != nullptr) {
            recorder->Enable(type);
        }
        writer_.HostCall("enable", type, algo_->Enable(type), Now());
    }
    return true;
}

bool LiveSession::Stop()
{
    if (algo_ != nullptr) {
        for (int32_t type : types_) {
            const int result = algo_->Disable(type);
            if (recorder_ != nullptr) {
                recorder_->Disable(type);
            }
            writer_.HostCall("disable", type, result, Now());
        }
        plugin_.Destroy(algo_);
        algo_ = nullptr;
    }
    LinuxPlatform::SetSampleObserver({});
    LinuxPlatform::SetTouchObserver({});
    writer_.Flush();
    return recorder_ == nullptr || recorder_->Ok();
}

}  // namespace Tarvo::Live
