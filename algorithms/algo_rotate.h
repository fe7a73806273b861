// Derives the display orientation from gravity and reports it as motion type 4, with
// the orientation in rotateAction (0 upright, 3 turned left, 2 upside down, 1 turned
// right). Only changes reach the host.
#pragma once

#include <memory>

#include "algo_plugin.h"

namespace Tarvo::Quil {

struct RotateData {
    float x = 0.0F;  // m/s², sign-inverted
    float y = 0.0F;
    float z = 0.0F;
};

class AlgoRotate : public AlgoPlugin {
public:
    AlgoRotate();

    int StartAlgorithm(int sensorTypeId, void* data) override;
    int PreprocessData(int sensorTypeId, void* data) override;

    // True when an axis is out of range.
    bool CheckData();
    bool IsHorizontal();
    void CalculateDisplayAngle();
    MotionData GetReportData(int rotateAction) const;

private:
    std::shared_ptr<RotateData> data_;
};

}  // namespace Tarvo::Quil
