// The machinery pick-up and near-ear share: four debounced still-pose converters, the
// absolute-stillness check and the state dispatch. The two differ only in how they
// read samples, in their "left stillness" and top states, and in their report type.
#pragma once

#include <cstdint>

#include "algo_plugin.h"

namespace Tarvo::Quil {

// The latest accelerometer sample, axes sign-inverted (face up: z ≈ -9.8, pitch ≈ ±180;
// upright: y ≈ -9.8, pitch ≈ 90).
struct PickUpData {
    float x = 0.0F;  // m/s²
    float y = 0.0F;
    float z = 0.0F;
    double pitch = 0.0;      // degrees, -atan2(y, z)
    double vectorMag = 0.0;  // m/s²
};

enum PickupState : int32_t {
    IDLE = -1,
    HORIZONTAL = 0,
    SHORT_VERTICAL = 1,
    LONG_VERTICAL = 2,
    FLIPPED = 3,
    NON_ABSOLUTE_STILL = 4,
    PICKUP = 5,  // EAR for near-ear
};

class AlgoPoseBase : public AlgoPlugin {
public:
    int StartAlgorithm(int sensorTypeId, void* data) override;

    void HandleIdle();
    // Each returns 0 when its pose holds (and converts after five samples), else -1.
    int32_t ConvertToHorizontal();
    int32_t ConvertShortVertical();
    int32_t ConvertToLongVertical();
    int32_t ConvertToFlipped();
    bool IsAbsoluteStill();

protected:
    // `tag` names the concrete class in every line the shared code writes.
    AlgoPoseBase(const char* tag, bool checksDataWhenStill);

    // The latest sample; null before the first accelerometer sample.
    virtual PickUpData* Pose() const = 0;
    virtual void HandleNonAbsoluteStill() = 0;
    // State 5: picked up / at the ear.
    virtual void HandleTop() = 0;

    // Fills `pose` from a raw accelerometer sample.
    static void ReadAcc(PickUpData& pose, const void* data);

    int32_t state_ = IDLE;
    // Deliberately 0, not the reload value: a pose held from the very first sample is
    // only accepted after it has been broken once.
    int32_t horizontalCount_ = 0;
    int32_t shortVerticalCount_ = 0;
    int32_t longVerticalCount_ = 0;
    int32_t flippedCount_ = 0;
    const char* const tag_;

private:
    using PoseTest = bool (*)(const PickUpData&);
    int32_t Convert(const char* op, PoseTest test, int32_t& counter, PickupState target);
    // The still states 0..3: leaving the magnitude band means the device is moving.
    void CheckStill();

    const bool checksDataWhenStill_;
};

}  // namespace Tarvo::Quil
