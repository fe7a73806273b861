// Samples of any sensor with any float values (NaN, infinities, huge) into every
// device-motion recogniser: no crash, no undefined behaviour.
#include <cstdint>
#include <cstring>

#include "algo_flip.h"
#include "algo_near_ear.h"
#include "algo_pickup.h"
#include "algo_pocket.h"
#include "algo_rotate.h"
#include "algo_shake.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace Tarvo::Quil;
    AlgoFlip flip;
    AlgoPickup pickup;
    AlgoNearEar nearEar;
    AlgoPocket pocket;
    AlgoRotate rotate;
    AlgoShake shake;
    AlgoPlugin* algos[] = {&flip, &pickup, &nearEar, &pocket, &rotate, &shake};
    static const int kSensors[] = {1, 5, 12, 1, 1, 12, 5, 42};
    constexpr size_t kSampleBytes = 1 + 4 * sizeof(float);
    for (size_t at = 0; at + kSampleBytes <= size; at += kSampleBytes) {
        float sample[4];
        std::memcpy(sample, data + at + 1, sizeof(sample));
        const int sensor = kSensors[data[at] % 8];
        for (AlgoPlugin* algo : algos) {
            algo->StartAlgorithm(sensor, sample);
        }
    }
    return 0;
}
