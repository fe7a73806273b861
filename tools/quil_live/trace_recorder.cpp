#include "trace_recorder.h"

#include <algorithm>

#include "sensor_service_client.h"

namespace Tarvo::Live {
namespace {

// Nine significant digits give every float back exactly when the trace is parsed.
std::string Float(float value)
{
    char buffer[32];
    std::snprintf(buffer, sizeof(buffer), "%.9g", static_cast<double>(value));
    return buffer;
}

std::string Ids(const std::vector<int32_t>& ids)
{
    if (ids.empty()) {
        return "-";
    }
    std::string text;
    for (int32_t id : ids) {
        text += (text.empty() ? "" : ",") + std::to_string(id);
    }
    return text;
}

}  // namespace

TraceRecorder::TraceRecorder(std::FILE* out) : out_(out), start_(std::chrono::steady_clock::now())
{
}

double TraceRecorder::Now()
{
    const auto elapsed = std::chrono::steady_clock::now() - start_;
    // Whole microseconds keep the stamps short and exact in decimal.
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
    return static_cast<double>(us) / 1000.0;
}

double TraceRecorder::WriteLocked(const std::string& line)
{
    last_ = std::max(last_, Now());
    std::fprintf(out_, "@%.3f %s\n", last_, line.c_str());
    std::fflush(out_);
    return last_;
}

void TraceRecorder::Comment(const std::string& text)
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::fprintf(out_, "# %s\n", text.c_str());
    std::fflush(out_);
}

void TraceRecorder::DeviceSensors(const std::vector<int32_t>& sensorTypeIds)
{
    std::lock_guard<std::mutex> lock(mutex_);
    WriteLocked("device-sensors " + Ids(sensorTypeIds));
}

void TraceRecorder::HostCall(const std::string& call, int32_t type)
{
    std::lock_guard<std::mutex> lock(mutex_);
    WriteLocked(call + " " + std::to_string(type));
}

double TraceRecorder::Sample(const Linux::SampleRecord& sample)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return WriteLocked(SampleLine(sample));
}

double TraceRecorder::Touch(const Linux::TouchRecord& touch)
{
    std::lock_guard<std::mutex> lock(mutex_);
    return WriteLocked(TouchLine(touch));
}

std::string TraceRecorder::SampleLine(const Linux::SampleRecord& sample)
{
    const auto value = [&sample](size_t i) {
        return Float(i < sample.values.size() ? sample.values[i] : 0.0f);
    };
    switch (sample.sensorTypeId) {
        case SENSOR_TYPE_ID_ACCELEROMETER:
            return "acc " + value(0) + " " + value(1) + " " + value(2);
        case SENSOR_TYPE_ID_AMBIENT_LIGHT:
            return "light " + value(0);
        case SENSOR_TYPE_ID_PROXIMITY:
            return "prox " + value(0);
        default: {
            std::string line = "sensor " + std::to_string(sample.sensorTypeId);
            for (size_t i = 0; i < std::max<size_t>(sample.values.size(), 1); ++i) {
                line += " " + value(i);
            }
            return line;
        }
    }
}

std::string TraceRecorder::TouchLine(const Linux::TouchRecord& touch)
{
    static const char* const kActions[] = {"down", "move", "up"};
    const std::string action = touch.action >= 2 && touch.action <= 4
                                   ? kActions[touch.action - 2]
                                   : std::to_string(touch.action);
    return "touch " + action + " " + std::to_string(touch.pointerId) + " " +
           std::to_string(touch.x) + " " + std::to_string(touch.y) + " " + Ids(touch.pointerIds);
}

}  // namespace Tarvo::Live
