#include "motion_algo_manager.h"

#include <algorithm>

#include "algo_flip.h"
#include "algo_near_ear.h"
#include "algo_pickup.h"
#include "algo_pocket.h"
#include "algo_rotate.h"
#include "algo_shake.h"
#include "motion_log.h"
#include "motion_type.h"
#include "sensor_connection.h"

namespace Tarvo::Quil {
namespace {
constexpr char kLogTag[] = "MotionAlgoManager";

// Removes the first entry equal to `value`; true if there was one.
bool RemoveFirst(std::list<int>& list, int value)
{
    auto it = std::find(list.begin(), list.end(), value);
    if (it == list.end()) {
        return false;
    }
    list.erase(it);
    return true;
}
}  // namespace

MotionAlgoManager::MotionAlgoManager()
    : supportTypes_(kSupportTypes.begin(), kSupportTypes.end()),
      gestureTypes_(kGestureTypes.begin(), kGestureTypes.end())
{
    algoMap_.emplace(MOTION_TYPE_FLIP, std::make_shared<AlgoFlip>());
    algoMap_.emplace(MOTION_TYPE_NEAR_EAR, std::make_shared<AlgoNearEar>());
    algoMap_.emplace(MOTION_TYPE_PICKUP, std::make_shared<AlgoPickup>());
    algoMap_.emplace(MOTION_TYPE_POCKET, std::make_shared<AlgoPocket>());
    algoMap_.emplace(MOTION_TYPE_ROTATE, std::make_shared<AlgoRotate>());
    algoMap_.emplace(MOTION_TYPE_SHAKE, std::make_shared<AlgoShake>());
}

MotionAlgoManager::~MotionAlgoManager()
{
    // While every recogniser is still whole: after this no dispatch runs in any of them
    // (unless the host destroys us from inside one, which then simply finishes).
    for (const auto& [type, algo] : algoMap_) {
        (void)type;
        if (algo != nullptr) {
            algo->Unbind();
        }
    }
    SensorConnection::GetInstance().UnregisterAllSensors();
    SensorConnection::GetInstance().WaitForDispatch();
    // The pointer connection removes its monitor and stops its worker as it goes.
    gestureManager_.reset();
    pointer_.reset();
}

int MotionAlgoManager::RegisterCallback(std::shared_ptr<Callback> callback)
{
    MLOGD("enter");
    std::lock_guard<std::mutex> lock(mutex_);
    // The first registration wins until UnregisterCallback.
    if (callback_ == nullptr) {
        callback_ = std::move(callback);
    }
    return 0;
}

int MotionAlgoManager::UnregisterCallback()
{
    MLOGD("UnregisterCallback enter");
    std::lock_guard<std::mutex> lock(mutex_);
    // Recognisers and the gesture pipeline keep the copies they were given.
    callback_.reset();
    return 0;
}

int MotionAlgoManager::Enable(int type)
{
    MLOGD("Enter");
    std::lock_guard<std::mutex> lock(mutex_);
    if (IsGestureType(type)) {
        MLOGD("Found gesture type");
        if (EnableGesture(type) != 0) {
            MLOGE("Failed to enable gesture");
            return -1;
        }
    } else {
        MLOGD("Found device motion type");
        if (EnableSensorType(type) != 0) {
            MLOGE("Failed to enable sensor");
            return -1;
        }
    }
    activeTypes_.push_back(type);
    ++activeCount_;
    MLOGD("Exit");
    return 0;
}

int MotionAlgoManager::Disable(int type)
{
    MLOGD("Enter");
    int result = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        result = DisableLocked(type);
    }
    // Outside the lock: the report in flight may itself be calling in.
    SensorConnection::GetInstance().WaitForDispatch();
    return result;
}

int MotionAlgoManager::DisableLocked(int type)
{
    // Logs as the operation the host called.
    if (IsGestureType(type)) {
        QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "Disable", "Found gesture motion type");
        if (DisableGesture(type) != 0) {
            QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, "Disable", "Failed to disable gesture");
            return -1;
        }
    } else {
        QUIL_LOG(LOG_LEVEL_DEBUG, kLogTag, "Disable", "Found sensor motion type");
        if (DisableSensorType(type) != 0) {
            QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, "Disable", "Failed to disable sensor channel");
            return -1;
        }
    }
    if (RemoveFirst(activeTypes_, type)) {
        --activeCount_;
    }
    return 0;
}

int MotionAlgoManager::DisableCount(int /*type*/)
{
    return 0;
}

bool MotionAlgoManager::IsSupportType(int type)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return std::find(supportTypes_.begin(), supportTypes_.end(), type) != supportTypes_.end();
}

bool MotionAlgoManager::CheckActiveAlgo()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return activeCount_ == 0;
}

bool MotionAlgoManager::IsGestureType(int type) const
{
    return std::find(gestureTypes_.begin(), gestureTypes_.end(), type) != gestureTypes_.end();
}

std::shared_ptr<AlgoPlugin> MotionAlgoManager::FindSensorAlgo(int type, std::set<int>& sensors,
                                                              const char* op) const
{
    auto it = algoMap_.find(type);
    if (it == algoMap_.end()) {
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, op, "Failed to find the type object");
        return nullptr;
    }
    if (it->second == nullptr) {
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, op, "Failed to init algorithm");
        return nullptr;
    }
    sensors = it->second->GetSupportSensors();
    if (sensors.empty()) {
        QUIL_LOG(LOG_LEVEL_ERROR, kLogTag, op, "Failed to find the type object");
        return nullptr;
    }
    return it->second;
}

int MotionAlgoManager::EnableSensorType(int type)
{
    std::set<int> sensors;
    std::shared_ptr<AlgoPlugin> algo = FindSensorAlgo(type, sensors, __func__);
    if (algo == nullptr) {
        return -1;
    }
    SensorConnection& connection = SensorConnection::GetInstance();
    // A failure part-way leaves the sensors handled so far subscribed and counted.
    for (int sensorTypeId : sensors) {
        std::set<int>& users = sensorAlgoMap_[sensorTypeId];
        if (users.empty()) {
            if (!connection.IsSupportedSensor(sensorTypeId)) {
                MLOGE("The sensor is not supported by system");
                return -1;
            }
            if (!connection.RegisterSensor(type, sensorTypeId)) {
                MLOGE("Failed to register");
                return -1;
            }
        } else {
            MLOGD("The sensor:%{public}d has been subscribed", sensorTypeId);
        }
        users.insert(type);
    }
    algo->RegisterCallback(type, callback_);
    return 0;
}

int MotionAlgoManager::DisableSensorType(int type)
{
    std::set<int> sensors;
    std::shared_ptr<AlgoPlugin> algo = FindSensorAlgo(type, sensors, __func__);
    if (algo == nullptr) {
        return -1;
    }
    SensorConnection& connection = SensorConnection::GetInstance();
    for (int sensorTypeId : sensors) {
        std::set<int>& users = sensorAlgoMap_[sensorTypeId];
        if (users.empty()) {
            // Deliberately an error line but not a failure: there is nothing to undo.
            MLOGE("The sensor is not supported by system, no need unregister");
            continue;
        }
        users.erase(type);
        if (!users.empty()) {
            MLOGE("Exist active algo, can not unregister sensor");
            continue;
        }
        if (!connection.IsSupportedSensor(sensorTypeId)) {
            MLOGE("The sensor is not supported by system");
            return -1;
        }
        if (!connection.UnregisterSensor(type, sensorTypeId)) {
            MLOGE("Failed to unregister");
            return -1;
        }
    }
    algo->UnregisterCallback(type);
    return 0;
}

int MotionAlgoManager::EnableGesture(int type)
{
    if (pointer_ == nullptr) {
        pointer_ = std::make_shared<PointerInputConnection>();
    }
    if (gestureManager_ == nullptr) {
        gestureManager_ = std::make_shared<AlgoGestureManager>(pointer_);
    }
    // All gesture types share one subscription, made by the first of them.
    if (gestureCount_ == 0) {
        gestureManager_->SubscribeEvent();
        gestureManager_->RegisterCallback(callback_);
        if (pointer_->SubscribePointerInput() != 0) {
            MLOGE("Failed to subscribe pointer event");
            return -1;
        }
    }
    enabledGestures_.push_back(type);
    ++gestureCount_;
    return 0;
}

int MotionAlgoManager::DisableGesture(int type)
{
    if (pointer_ == nullptr) {
        MLOGE("pointer_ is nullptr");
        return -1;
    }
    // Deliberately the gesture count stays and the active count drops instead (and
    // Disable drops it once more): once up, the touch pipeline stays up until the
    // manager goes, and CheckActiveAlgo answers false after a gesture was disabled.
    // A type that was never enabled leaves everything as it is.
    if (RemoveFirst(enabledGestures_, type)) {
        --activeCount_;
    }
    if (gestureCount_ == 0) {
        if (pointer_->UnsubscribePointerInput() != 0) {
            MLOGE("Failed to subscribe pointer event");
            return -1;
        }
        gestureManager_->UnSubscribeEvent();
    }
    return 0;
}

}  // namespace Tarvo::Quil
