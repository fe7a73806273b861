// The one host callback of a replay: prints each report and answers as told.
#pragma once

#include <atomic>
#include <optional>

#include "i_motion_algo.h"
#include "output_writer.h"

namespace Tarvo::Tools {

class HostCallback : public Quil::IMotionAlgo::Callback {
public:
    explicit HostCallback(OutputWriter& writer) : writer_(writer) {}

    int OnMotionChanged(const Quil::MotionData& data) override;

    void SetReturnValue(int value) { returnValue_ = value; }
    // The stamp of the record being played, carried by the reports it causes.
    void SetStamp(std::optional<double> stamp);

private:
    OutputWriter& writer_;
    std::atomic<int> returnValue_{0};
    std::atomic<bool> hasStamp_{false};
    std::atomic<double> stamp_{0.0};
};

}  // namespace Tarvo::Tools
