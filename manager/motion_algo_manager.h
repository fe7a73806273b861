// The library's implementation of IMotionAlgo and the object the host holds: maps each
// motion type to a device-motion recogniser or to the touch gesture pipeline, and
// subscribes platform sensors with a count of the types that use each one.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>

#include "algo_gesture_manager.h"
#include "algo_plugin.h"
#include "i_motion_algo.h"
#include "pointer_input_connection.h"

namespace Tarvo::Quil {

class MotionAlgoManager : public IMotionAlgo {
public:
    MotionAlgoManager();
    // Leaves the platform as it found it: unbinds every recogniser, undoes every sensor
    // subscription and removes the pointer monitor, waiting out work in flight, before
    // it returns (see the contract in i_motion_algo.h).
    ~MotionAlgoManager() override;

    int RegisterCallback(std::shared_ptr<Callback> callback) override;
    int UnregisterCallback() override;
    int Enable(int type) override;
    int Disable(int type) override;
    int DisableCount(int type) override;
    bool IsSupportType(int type) override;
    bool CheckActiveAlgo() override;

private:
    int DisableLocked(int type);
    int EnableSensorType(int type);
    int DisableSensorType(int type);
    int EnableGesture(int type);
    int DisableGesture(int type);
    // The recogniser of `type` and the sensors it needs, or null after logging why not.
    std::shared_ptr<AlgoPlugin> FindSensorAlgo(int type, std::set<int>& sensors,
                                               const char* op) const;
    bool IsGestureType(int type) const;

    // Serialises the operations: the host may call in from its own threads and from
    // inside reports on both workers at once. Never held while waiting for a worker.
    std::mutex mutex_;
    std::shared_ptr<IMotionAlgo::Callback> callback_;
    std::shared_ptr<PointerInputConnection> pointer_;
    std::shared_ptr<AlgoGestureManager> gestureManager_;
    std::list<int> supportTypes_;
    std::list<int> gestureTypes_;
    std::map<int, std::shared_ptr<AlgoPlugin>> algoMap_;
    // Sensor type id -> enabled motion types using it; subscribed while non-empty.
    std::map<int, std::set<int>> sensorAlgoMap_;
    std::list<int> activeTypes_;
    // Its own entry count, which a disabled gesture deliberately does not lower.
    uint64_t activeCount_ = 0;
    std::list<int> enabledGestures_;
    uint64_t gestureCount_ = 0;
};

}  // namespace Tarvo::Quil
