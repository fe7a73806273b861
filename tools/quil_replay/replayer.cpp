#include "replayer.h"

#include <chrono>
#include <thread>

#include "host_platform.h"

namespace Tarvo::Replay {
namespace {
constexpr int kSettleTimeoutMs = 30000;
constexpr double kNsPerMs = 1e6;
// A burst is read ahead, then played while the worker may still be on the last one;
// the wait before the next keeps the worker's queue short.
constexpr size_t kMaxInFlight = 2048;
constexpr size_t kBurst = 2048;
constexpr size_t kWakeBatch = 64;
constexpr int kWaitSpinUs = 50;

// The host platform's name for a call a trace names.
Host::SensorCall HostCall(Tools::ServiceCall call)
{
    switch (call) {
        case Tools::ServiceCall::GET_ALL_SENSORS:
            return Host::SensorCall::GET_ALL_SENSORS;
        case Tools::ServiceCall::SUBSCRIBE_SENSOR:
            return Host::SensorCall::SUBSCRIBE_SENSOR;
        case Tools::ServiceCall::SET_BATCH:
            return Host::SensorCall::SET_BATCH;
        case Tools::ServiceCall::ACTIVATE_SENSOR:
            return Host::SensorCall::ACTIVATE_SENSOR;
        case Tools::ServiceCall::DEACTIVATE_SENSOR:
            return Host::SensorCall::DEACTIVATE_SENSOR;
        case Tools::ServiceCall::UNSUBSCRIBE_SENSOR:
            break;
    }
    return Host::SensorCall::UNSUBSCRIBE_SENSOR;
}
}  // namespace

Replayer::Replayer(const PluginLoader& plugin, OutputWriter& writer, const ReplaySettings& settings)
    : plugin_(plugin),
      writer_(writer),
      host_(std::make_shared<HostCallback>(writer)),
      settings_(settings),
      burst_(kBurst)
{
}

bool Replayer::Run(const std::vector<TraceRecord>& records, std::string& error)
{
    class VectorSource : public RecordSource {
    public:
        explicit VectorSource(const std::vector<TraceRecord>& records) : records_(records) {}
        bool Next(TraceRecord& record, std::string& /*error*/) override
        {
            if (next_ == records_.size()) {
                return false;
            }
            record = records_[next_++];
            return true;
        }

    private:
        const std::vector<TraceRecord>& records_;
        size_t next_ = 0;
    } source(records);
    return Run(source, error);
}

bool Replayer::Run(RecordSource& source, std::string& error)
{
    using Host::HostPlatform;
    HostPlatform::WaitIdle(kSettleTimeoutMs);
    Quil::IMotionAlgo* algo = plugin_.Create();
    if (algo == nullptr) {
        error = "the plug-in could not create its algorithm object";
        return false;
    }
    algo->RegisterCallback(host_);
    // This thread plays the services' delivery thread: a sample crosses one thread, to
    // the library's worker, instead of two. Waiting after every record keeps the
    // services' own threads, so that it stays the reference the fast way is held to.
    HostPlatform::SetInlineDelivery(!settings_.syncEveryRecord);
    // Stamped output and the reference way wait after nearly every record, for a worker
    // on the other core with one record to handle: spinning beats being woken.
    HostPlatform::SetWaitSpin(settings_.realtime ? 0 : kWaitSpinUs);
    pending_ = Channel::NONE;
    inFlight_ = 0;
    start_ = std::chrono::steady_clock::now();
    bool ok = true;
    bool more = true;
    while (ok && more) {
        // Samples and touches are read ahead and then played back to back: the worker
        // wakes once for the burst instead of once for each record that finds it idle.
        size_t count = 0;
        while (count < burst_.size()) {
            if (!source.Next(burst_[count], error)) {
                more = false;
                break;
            }
            if (!Burstable(burst_[count++])) {
                break;
            }
        }
        // Within the burst a worker that keeps up is woken once every kWakeBatch
        // records, not after each one; what is held back goes at every wait and at the
        // burst's end, so the worker never idles while the next burst is read.
        HostPlatform::SetWakeBatch(count > 0 && Burstable(burst_[0]) ? kWakeBatch : 0);
        for (size_t i = 0; ok && i < count; ++i) {
            ok = PlayInTurn(*algo, burst_[i], error);
        }
        HostPlatform::SetWakeBatch(0);
    }
    ok = ok && error.empty() && Sync(error);
    plugin_.Destroy(algo);
    HostPlatform::WaitIdle(kSettleTimeoutMs);
    HostPlatform::SetInlineDelivery(false);
    HostPlatform::SetWaitSpin(0);
    writer_.Flush();
    return ok;
}

bool Replayer::Burstable(const TraceRecord& record) const
{
    const Channel channel = ChannelOf(record);
    return (channel == Channel::SENSOR || channel == Channel::POINTER) && !settings_.realtime &&
           !settings_.logging && !settings_.syncEveryRecord;
}

bool Replayer::PlayInTurn(Quil::IMotionAlgo& algo, const TraceRecord& record, std::string& error)
{
    if (NeedsSync(record) && !Sync(error)) {
        return false;
    }
    if (settings_.realtime && record.stamp.has_value()) {
        // Stamps and speeds are bounded when parsed, so this fits the clock.
        const auto due =
            start_ +
            std::chrono::duration_cast<std::chrono::nanoseconds>(
                std::chrono::duration<double, std::milli>(*record.stamp / settings_.speed));
        std::this_thread::sleep_until(due);
    }
    if (record.stamp != stamp_) {
        host_->SetStamp(record.stamp);
        stamp_ = record.stamp;
    }
    Play(algo, record);
    if (lastFile_ != record.file) {
        lastFile_ = record.file;
    }
    lastLine_ = record.line;
    pending_ = ChannelOf(record);
    ++inFlight_;
    return true;
}

Replayer::Channel Replayer::ChannelOf(const TraceRecord& record)
{
    switch (record.kind) {
        case RecordKind::SAMPLE:
        case RecordKind::NULL_EVENT:
            return Channel::SENSOR;
        case RecordKind::TOUCH:
        case RecordKind::TOUCH_NO_ITEM:
            return Channel::POINTER;
        default:
            // Host calls, faults and device settings: synchronous, but they may start
            // work on either worker, and work in flight must not see them early.
            return Channel::OTHER;
    }
}

bool Replayer::NeedsSync(const TraceRecord& record) const
{
    if (pending_ == Channel::NONE) {
        return false;
    }
    if (settings_.syncEveryRecord || settings_.realtime || settings_.logging) {
        return true;
    }
    const Channel channel = ChannelOf(record);
    if (channel == Channel::OTHER || channel != pending_) {
        return true;  // a host call or fault, or the other worker's turn
    }
    if (settings_.stampedReports && record.stamp != stamp_) {
        return true;  // reports still to come must carry the earlier stamp
    }
    // Bounds the platform's queue and keeps the lag well inside its reused sample
    // buffers.
    return inFlight_ >= kMaxInFlight;
}

bool Replayer::Sync(std::string& error)
{
    pending_ = Channel::NONE;
    inFlight_ = 0;
    if (!Host::HostPlatform::WaitIdle(kSettleTimeoutMs)) {
        error = lastFile_ + ":" + std::to_string(lastLine_) +
                ": the library did not finish handling this record";
        return false;
    }
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
            // At most 1e12 ms (checked when parsed), so the nanoseconds fit.
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
            HostPlatform::Fail(HostCall(record.call), record.callSensor);
            break;
        case RecordKind::HEAL:
            HostPlatform::Heal(HostCall(record.call), record.callSensor);
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
