// Recognises a device that was resting in a still pose being lifted and tilted towards
// the user; reports motion type 0 (1 picked up, 0 that posture left).
#pragma once

#include <memory>

#include "algo_pose_base.h"

namespace Tarvo::Quil {

class AlgoPickup : public AlgoPoseBase {
public:
    AlgoPickup();

    int PreprocessData(int sensorTypeId, void* data) override;
    void HandleNonAbsoluteStill() override;
    void HandlePickup();
    MotionData GetReportData(int result) const;

protected:
    PickUpData* Pose() const override { return data_.get(); }
    void HandleTop() override { HandlePickup(); }

private:
    std::shared_ptr<PickUpData> data_;
};

}  // namespace Tarvo::Quil
