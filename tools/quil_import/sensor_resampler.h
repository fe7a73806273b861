// Delivers a logged sensor stream the way a sensor service does for a subscriber at a
// fixed interval: at every tick, the newest sample taken since the previous tick.
// Ticks run from the first sample's time; a tick with no new sample delivers nothing.
// Streaming: holds one pending sample.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace Tarvo::Import {

struct SensorSample {
    double timeMs = 0.0;  // from the start of the log
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
    std::optional<float> prox;
    std::optional<float> light;
};

class SensorResampler {
public:
    using Sink = std::function<void(double tickMs, const SensorSample& sample)>;

    SensorResampler(double intervalMs, Sink sink) : intervalMs_(intervalMs), sink_(std::move(sink))
    {
    }

    // Samples must come in time order (equal times allowed).
    void Add(const SensorSample& sample);
    // Delivers the last pending sample at the tick that follows it.
    void Finish();

private:
    double intervalMs_;
    Sink sink_;
    std::optional<SensorSample> pending_;
    double nextTickMs_ = 0.0;
    bool started_ = false;
};

}  // namespace Tarvo::Import
