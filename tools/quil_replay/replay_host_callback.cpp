#include "replay_host_callback.h"

namespace Tarvo::Replay {

int ReplayHostCallback::OnMotionChanged(const Quil::MotionData& data)
{
    writer_.Report(data, hasStamp_ ? std::optional<double>(stamp_) : std::nullopt);
    return returnValue_;
}

void ReplayHostCallback::SetStamp(std::optional<double> stamp)
{
    stamp_ = stamp.value_or(0.0);
    hasStamp_ = stamp.has_value();
}

}  // namespace Tarvo::Replay
