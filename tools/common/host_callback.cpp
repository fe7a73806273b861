#include "host_callback.h"

namespace Tarvo::Tools {

int HostCallback::OnMotionChanged(const Quil::MotionData& data)
{
    const bool hasStamp = hasStamp_.load(std::memory_order_acquire);
    writer_.Report(data, hasStamp ? std::optional<double>(stamp_.load(std::memory_order_relaxed))
                                  : std::nullopt);
    return returnValue_;
}

void HostCallback::SetStamp(std::optional<double> stamp)
{
    // Set for every record played; only JSON output prints it, and there the replay waits
    // for the workers before a new stamp, so plain release stores are enough.
    stamp_.store(stamp.value_or(0.0), std::memory_order_relaxed);
    hasStamp_.store(stamp.has_value(), std::memory_order_release);
}

}  // namespace Tarvo::Tools
