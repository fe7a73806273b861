#include "algo_plugin.h"

#include <cstring>

#include "motion_log.h"
#include "motion_type.h"
#include "sensor_connection.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "AlgoPlugin";
}  // namespace

AlgoPlugin::~AlgoPlugin()
{
    // Last resort for a recogniser not held by a shared_ptr: an owner should Unbind
    // before the derived part goes.
    if (boundType_.has_value()) {
        Unbind();
        SensorConnection::GetInstance().WaitForDispatch();
    }
}

void AlgoPlugin::Unbind()
{
    if (boundType_.has_value()) {
        SensorConnection::GetInstance().UnregisterEvent(*boundType_);
        boundType_.reset();
    }
}

MotionData AlgoPlugin::MakeReport(int type, int result)
{
    MotionData data;
    data.type = type;
    data.result = result;
    return data;
}

AccelData AlgoPlugin::ReadInvertedAcc(const void* data)
{
    AccelData acc{};
    std::memcpy(&acc, data, sizeof(acc));  // the platform's block may be unaligned
    return AccelData{-acc.x, -acc.y, -acc.z};
}

float AlgoPlugin::ReadDistance(const void* data)
{
    ProximityData proximity{};
    std::memcpy(&proximity, data, sizeof(proximity));
    return proximity.distance;
}

std::set<int> AlgoPlugin::GetSupportSensors() const
{
    return supportSensors_;
}

int AlgoPlugin::RegisterCallback(int type, std::shared_ptr<IMotionAlgo::Callback> callback)
{
    MLOGD("RegisterCallback Enter");
    // The callback is in place before the binding, so a dispatched sample never finds a
    // bound recogniser without one.
    hasCallback_.store(callback != nullptr);
    std::atomic_store(&callback_, std::move(callback));
    if (boundType_.has_value() && *boundType_ != type) {
        SensorConnection::GetInstance().UnregisterEvent(*boundType_);
    }
    SensorConnection::GetInstance().RegisterEvent(
        type, [this](int sensorTypeId, void* data) { return StartAlgorithm(sensorTypeId, data); },
        weak_from_this().lock());
    boundType_ = type;
    return 0;
}

int AlgoPlugin::UnregisterCallback(int type)
{
    SensorConnection::GetInstance().UnregisterEvent(type);
    if (boundType_ == type) {
        boundType_.reset();
    }
    hasCallback_.store(false);
    std::atomic_store(&callback_, std::shared_ptr<IMotionAlgo::Callback>());
    return 0;
}

int AlgoPlugin::Report(const MotionData& data)
{
    MLOGD("Report Enter");
    if (!hasCallback_.load()) {
        MLOGE("callback is nullptr");
        return -1;
    }
    // Device motions reach the host only when their outcome changes; rotation compares
    // the orientation, the others the result. Only the compared field is remembered.
    int32_t MotionData::*compared = nullptr;
    switch (data.type) {
        case MOTION_TYPE_PICKUP:
        case MOTION_TYPE_NEAR_EAR:
        case MOTION_TYPE_FLIP:
        case MOTION_TYPE_SHAKE:
        case MOTION_TYPE_POCKET:
            compared = &MotionData::result;
            break;
        case MOTION_TYPE_ROTATE:
            compared = &MotionData::rotateAction;
            break;
        default:
            // Unknown types are a warning but still a success, as the host expects.
            MLOGW("Unknown type");
            break;
    }
    if (compared != nullptr && data.*compared != lastData_.*compared) {
        // Our own reference: the host may replace or drop the callback during the call.
        const std::shared_ptr<IMotionAlgo::Callback> callback = std::atomic_load(&callback_);
        if (callback == nullptr) {
            MLOGE("callback is nullptr");
            return -1;
        }
        if (callback->OnMotionChanged(data) != 0) {
            MLOGE("Failed to report");
            return -1;
        }
        lastData_.*compared = data.*compared;
    }
    if (PlatformLogIsLoggable(kMotionLogDomain, kLogTag, LOG_LEVEL_DEBUG)) {
        MLOGD("%{public}s", data.Dump().c_str());
    }
    return 0;
}

}  // namespace Tarvo::Quil
