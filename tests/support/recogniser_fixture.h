// A recogniser bound to a recording host callback, fed samples directly.
#pragma once

#include <gtest/gtest.h>

#include <array>

#include "host_platform.h"
#include "recording_callback.h"

namespace Tarvo::Quil::Test {

template <typename Algo, int kType>
class RecogniserTest : public testing::Test {
protected:
    void SetUp() override
    {
        Host::HostPlatform::Reset();
        algo_.RegisterCallback(kType, callback_);
    }
    void TearDown() override { algo_.UnregisterCallback(kType); }

    // One raw sample as the sensor service hands it over (zero-padded).
    int Sample(int sensorTypeId, float a, float b = 0.0F, float c = 0.0F)
    {
        std::array<float, 4> data = {a, b, c, 0.0F};
        return algo_.StartAlgorithm(sensorTypeId, data.data());
    }
    int Acc(float x, float y, float z) { return Sample(1, x, y, z); }
    void Repeat(int times, float x, float y, float z)
    {
        for (int i = 0; i < times; ++i) {
            Acc(x, y, z);
        }
    }
    std::vector<int> Results() const
    {
        std::vector<int> results;
        for (const auto& report : callback_->Reports()) {
            results.push_back(report.result);
        }
        return results;
    }

    std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
    Algo algo_;
};

}  // namespace Tarvo::Quil::Test
