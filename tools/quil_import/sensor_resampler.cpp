#include "sensor_resampler.h"

#include <cmath>

namespace Tarvo::Import {

void SensorResampler::Add(const SensorSample& sample)
{
    if (!started_) {
        // The first tick takes the first sample, so the trace starts at once.
        started_ = true;
        nextTickMs_ = sample.timeMs;
    }
    if (pending_ && sample.timeMs > nextTickMs_) {
        sink_(nextTickMs_, *pending_);
        pending_.reset();
    }
    if (sample.timeMs > nextTickMs_) {
        // Skip the ticks of a gap in the log: the service has nothing to deliver then.
        const double behind = std::ceil((sample.timeMs - nextTickMs_) / intervalMs_);
        nextTickMs_ += behind * intervalMs_;
    }
    pending_ = sample;
}

void SensorResampler::Finish()
{
    if (pending_) {
        sink_(nextTickMs_, *pending_);
        pending_.reset();
    }
}

}  // namespace Tarvo::Import
