// Flags every accelerometer sample far beyond gravity on some axis as a shake; reports
// motion type 6 (1 shaking, 0 calm), changes only.
#pragma once

#include <memory>

#include "algo_plugin.h"

namespace Tarvo::Quil {

struct ShakeData {
    float x = 0.0F;  // m/s², sign-inverted
    float y = 0.0F;
    float z = 0.0F;
};

class AlgoShake : public AlgoPlugin {
public:
    AlgoShake();

    int StartAlgorithm(int sensorTypeId, void* data) override;
    int PreprocessData(int sensorTypeId, void* data) override;

    bool IsShake();
    MotionData GetReportData(int result) const;

private:
    std::shared_ptr<ShakeData> data_;
};

}  // namespace Tarvo::Quil
