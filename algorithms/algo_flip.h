// Recognises a turn of the device about its long axis, from a resting pose to a flat
// pose, and reports it as motion type 3.
#pragma once

#include <cstdint>
#include <memory>

#include "algo_plugin.h"

namespace Tarvo::Quil {

// The latest sample, axes sign-inverted (face up: z ≈ -9.8, |pitch| ≈ |roll| ≈ 180).
struct FlipData {
    float x = 0.0F;  // m/s²
    float y = 0.0F;
    float z = 0.0F;
    double pitch = 0.0;      // degrees, -atan2(y, z)
    double roll = 0.0;       // degrees, atan2(x, z)
    double vectorMag = 0.0;  // m/s²
};

enum FlipState : int32_t {
    UNKNOWN = -1,
    STILL_UP = 0,
    FLIPPING_UP = 1,
    FLIPPED_UP = 2,
    STILL_DOWN = 3,
    FLIPPING_DOWN = 4,
    FLIPPED_DOWN = 5,
};

class AlgoFlip : public AlgoPlugin {
public:
    AlgoFlip();

    int StartAlgorithm(int sensorTypeId, void* data) override;
    int PreprocessData(int sensorTypeId, void* data) override;

    MotionData GetReportData(int result) const;

private:
    // False, with an error line naming `op`, while there is no sample yet.
    bool HasData(const char* op) const;
    bool IsStillAccUp() const;
    bool IsStillAccDown() const;
    bool IsFlippedAccUp() const;
    bool IsFlippedAccDown() const;
    bool IsVentorMag() const;
    bool IsPitchUp() const;
    bool IsPitchDown() const;
    bool IsRoll() const;

    void HandleUnknown();
    void HandleStillUp();
    void HandleFlippingUp();
    void HandleFlippedUp();
    void HandleStillDown();
    void HandleFlippingDown();
    void HandleFlippedDown();
    // Counts one sample of a flip in progress; true when it has timed out.
    bool TimedOut();

    int32_t counter_;
    int32_t state_ = UNKNOWN;
    std::shared_ptr<FlipData> data_;
};

}  // namespace Tarvo::Quil
