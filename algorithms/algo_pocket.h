// Recognises the device being put into a pocket or bag: proximity covered, dark, and
// gravity almost wholly along z. Reports motion type 7 (1 in a pocket, 0 out of it).
#pragma once

#include <cstdint>
#include <memory>

#include "algo_plugin.h"

namespace Tarvo::Quil {

// The latest values of all three sensors; accelerometer axes sign-inverted.
struct PocketData {
    float x = 0.0F;  // m/s²
    float y = 0.0F;
    float z = 0.0F;
    bool isNear = false;
    float intensity = 0.0F;  // lux
};

class AlgoPocket : public AlgoPlugin {
public:
    AlgoPocket();

    int StartAlgorithm(int sensorTypeId, void* data) override;
    int PreprocessData(int sensorTypeId, void* data) override;

    bool IsPocket();
    MotionData GetReportData(int result) const;

private:
    int32_t state_ = -1;  // -1 undecided, 0 not in a pocket, 1 in a pocket
    std::shared_ptr<PocketData> data_;
    // Qualifying samples still needed; deliberately not reloaded by a non-pocket
    // sample, so qualifying samples add up across interruptions.
    int32_t pocketCount_;
};

}  // namespace Tarvo::Quil
