#include "replayer.h"

#include <chrono>
#include <thread>

#include "host_platform.h"

namespace Tarvo::Replay {
namespace {
constexpr int kSettleTimeoutMs = 30000;
constexpr double kNsPerMs = 1e6;
}  // namespace

Replayer::Replayer(const PluginLoader& plugin, OutputWriter& writer, bool realtime, double speed)
    : plugin_(plugin),
      writer_(writer),
      host_(std::make_shared<ReplayHostCallback>(writer)),
      realtime_(realtime),
      speed_(speed)
{
}

bool Replayer::Run(const std::vector<TraceRecord>& records, std::string& error)
{
    using Host::HostPlatform;
    HostPlatform::WaitIdle(kSettleTimeoutMs);
    Quil::IMotionAlgo* algo = plugin_.Create();
    if (algo == nullptr) {
        error = "the plug-in could not create its algorithm object";
        return false;
    }
    algo->RegisterCallback(host_);
    const auto start = std::chrono::steady_clock::now();
    for (const TraceRecord& record : records) {
        if (realtime_ && record.stamp.has_value()) {
            const auto due =
                start + std::chrono::duration<double, std::milli>(*record.stamp / speed_);
            std::this_thread::sleep_until(
                std::chrono::time_point_cast<std::chrono::steady_clock::duration>(due));
        }
        host_->SetStamp(record.stamp);
        Play(*algo, record);
        if (!HostPlatform::WaitIdle(kSettleTimeoutMs)) {
            error = record.file + ":" + std::to_string(record.line) +
                    ": the library did not finish handling this record";
            return false;
        }
    }
    plugin_.Destroy(algo);
    HostPlatform::WaitIdle(kSettleTimeoutMs);
    writer_.Flush();
    return true;
}

void Replayer::Play(Quil::IMotionAlgo& algo, const TraceRecord& record)
{
    using Host::HostPlatform;
    const auto& stamp = record.stamp;
    switch (record.kind) {
        case RecordKind::ENABLE:
            writer_.HostCall("enable", record.value, algo.Enable(record.value), stamp);
            break;
        case RecordKind::DISABLE:
            writer_.HostCall("disable", record.value, algo.Disable(record.value), stamp);
            break;
        case RecordKind::DISABLE_COUNT:
            writer_.HostCall("disable-count", record.value, algo.DisableCount(record.value), stamp);
            break;
        case RecordKind::SUPPORTED:
            writer_.HostQuery("supported", record.value, algo.IsSupportType(record.value), stamp);
            break;
        case RecordKind::IDLE:
            writer_.HostQuery("idle", std::nullopt, algo.CheckActiveAlgo(), stamp);
            break;
        case RecordKind::REGISTER:
            writer_.HostCall("register", std::nullopt, algo.RegisterCallback(host_), stamp);
            break;
        case RecordKind::UNREGISTER:
            writer_.HostCall("unregister", std::nullopt, algo.UnregisterCallback(), stamp);
            break;
        case RecordKind::SAMPLE:
            HostPlatform::InjectSample(record.value, record.floats,
                                       static_cast<int64_t>(stamp.value_or(0.0) * kNsPerMs));
            break;
        case RecordKind::NULL_EVENT:
            HostPlatform::InjectNullEvent();
            break;
        case RecordKind::TOUCH:
            HostPlatform::InjectTouch(record.action, record.pointerId, record.x, record.y,
                                      record.ids);
            break;
        case RecordKind::TOUCH_NO_ITEM:
            HostPlatform::InjectTouchNoItem(record.action, record.pointerId, record.ids);
            break;
        case RecordKind::DEVICE_SENSORS:
            HostPlatform::SetDeviceSensors(record.ids);
            break;
        case RecordKind::FAIL:
            HostPlatform::Fail(record.call, record.callSensor);
            break;
        case RecordKind::HEAL:
            HostPlatform::Heal(record.call, record.callSensor);
            break;
        case RecordKind::MONITOR_ID:
            HostPlatform::SetMonitorId(record.value);
            break;
        case RecordKind::HOST_RETURN:
            host_->SetReturnValue(record.value);
            break;
    }
}

}  // namespace Tarvo::Replay
