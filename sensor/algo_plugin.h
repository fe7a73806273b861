// Base of every device-motion recogniser: binds it to the sensor connection and passes
// its outcomes to the host, dropping an outcome equal to the last one delivered.
#pragma once

#include <atomic>
#include <cmath>
#include <memory>
#include <optional>
#include <set>

#include "i_motion_algo.h"
#include "motion_data.h"
#include "sensor_service_client.h"

namespace Tarvo::Quil {

// Shared from the manager: a dispatch in flight keeps its recogniser alive.
class AlgoPlugin : public std::enable_shared_from_this<AlgoPlugin> {
public:
    virtual ~AlgoPlugin();

    // One recognition step for a sample of any sensor; the recogniser picks the sensor
    // types it wants. Runs on the sensor worker.
    virtual int StartAlgorithm(int sensorTypeId, void* data) = 0;
    // The platform sensor types the recogniser consumes.
    virtual std::set<int> GetSupportSensors() const;
    // Turns the raw platform data of one sample into the recogniser's sample record.
    virtual int PreprocessData(int sensorTypeId, void* data) = 0;

    // Keeps `callback` and binds StartAlgorithm into the sensor connection under the
    // motion type `type`. Always 0.
    int RegisterCallback(int type, std::shared_ptr<IMotionAlgo::Callback> callback);
    // Unbinds from the sensor connection, then drops the callback.
    int UnregisterCallback(int type);
    // Unbinds whatever binding is left, for an owner that goes without disabling: no
    // dispatch starts in this object afterwards (see SensorConnection::WaitForDispatch
    // for one already running).
    void Unbind();
    // Delivers `data` unless its compared outcome equals the last delivered one.
    int Report(const MotionData& data);

protected:
    AlgoPlugin() = default;

    // The report record of `type` with `result`; every other field as unset.
    static MotionData MakeReport(int type, int result);
    // An accelerometer sample (three floats, m/s²) with its axes sign-inverted, as every
    // recogniser works with them.
    static AccelData ReadInvertedAcc(const void* data);
    // The proximity distance of a sample.
    static float ReadDistance(const void* data);
    // Near when the distance truncates to 0, i.e. lies in (-1, 1). Tested on the float,
    // so that NaN, infinite and huge distances are simply not near.
    static bool IsNearDistance(float distance) { return std::fabs(distance) < 1.0F; }

    // Read by the worker and replaced by the host's thread: accessed only through the
    // atomic shared_ptr functions, so a report holds its own reference for the call.
    std::shared_ptr<IMotionAlgo::Callback> callback_;
    // Whether callback_ is set: most samples change nothing and need only this, not a
    // reference (which takes a lock in the atomic shared_ptr functions).
    std::atomic<bool> hasCallback_{false};
    // Last outcome delivered; all -1 so that the first real outcome always differs.
    MotionData lastData_;
    std::set<int> supportSensors_;

private:
    std::optional<int> boundType_;  // the motion type StartAlgorithm is bound under
};

}  // namespace Tarvo::Quil
