// A host callback that records every report it is given.
#pragma once

#include <mutex>
#include <vector>

#include "i_motion_algo.h"

namespace Tarvo::Quil::Test {

class RecordingCallback : public IMotionAlgo::Callback {
public:
    int OnMotionChanged(const MotionData& data) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        reports_.push_back(data);
        return returnValue_;
    }

    std::vector<MotionData> Reports() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return reports_;
    }

    // What OnMotionChanged answers from now on (0 accepts).
    void SetReturnValue(int value)
    {
        std::lock_guard<std::mutex> lock(mutex_);
        returnValue_ = value;
    }

private:
    mutable std::mutex mutex_;
    std::vector<MotionData> reports_;
    int returnValue_ = 0;
};

}  // namespace Tarvo::Quil::Test
