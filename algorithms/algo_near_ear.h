// Recognises a device that was resting still being raised to the ear: upright, with the
// proximity sensor covered. Reports motion type 2 (1 at the ear, 0 proximity clear).
#pragma once

#include <memory>

#include "algo_pose_base.h"

namespace Tarvo::Quil {

struct NearEarData : PickUpData {
    bool isNear = false;  // an object at distance 0; false until the first proximity sample
};

class AlgoNearEar : public AlgoPoseBase {
public:
    AlgoNearEar();

    int PreprocessData(int sensorTypeId, void* data) override;
    void HandleNonAbsoluteStill() override;
    void HandleEar();
    MotionData GetReportData(int result) const;

protected:
    PickUpData* Pose() const override { return data_.get(); }
    void HandleTop() override { HandleEar(); }

private:
    std::shared_ptr<NearEarData> data_;
};

}  // namespace Tarvo::Quil
