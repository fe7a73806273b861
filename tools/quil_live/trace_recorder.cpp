#include "trace_recorder.h"

#include "sensor_service_client.h"

namespace Tarvo::Live {

TraceRecorder::TraceRecorder(std::FILE* out)
    : out_(out), writer_(out), start_(std::chrono::steady_clock::now())
{
}

double TraceRecorder::Now() const
{
    const auto elapsed = std::chrono::steady_clock::now() - start_;
    // Whole microseconds: the trace keeps three decimals of a millisecond.
    const auto us = std::chrono::duration_cast<std::chrono::microseconds>(elapsed).count();
    return static_cast<double>(us) / 1000.0;
}

void TraceRecorder::Header(const std::string& comment, const std::vector<int32_t>& sensorTypeIds)
{
    std::lock_guard<std::mutex> lock(mutex_);
    writer_.Comment(comment);
    std::string ids;
    for (int32_t id : sensorTypeIds) {
        ids += (ids.empty() ? "" : ",") + std::to_string(id);
    }
    // The shared writer has no device records; this one line is written here.
    std::fprintf(out_, "device-sensors %s\n", ids.empty() ? "-" : ids.c_str());
    std::fflush(out_);
}

void TraceRecorder::Enable(int32_t type)
{
    std::lock_guard<std::mutex> lock(mutex_);
    writer_.Enable(type);
    std::fflush(out_);
}

void TraceRecorder::Disable(int32_t type)
{
    std::lock_guard<std::mutex> lock(mutex_);
    writer_.Disable(type);
    std::fflush(out_);
}

double TraceRecorder::Sample(const Linux::SampleRecord& sample)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const double ms = Now();
    const auto value = [&sample](size_t i) {
        return i < sample.values.size() ? sample.values[i] : 0.0f;
    };
    switch (sample.sensorTypeId) {
        case SENSOR_TYPE_ID_ACCELEROMETER:
            writer_.Acc(ms, value(0), value(1), value(2));
            break;
        case SENSOR_TYPE_ID_AMBIENT_LIGHT:
            writer_.Light(ms, value(0));
            break;
        case SENSOR_TYPE_ID_PROXIMITY:
            writer_.Prox(ms, value(0));
            break;
        default:
            writer_.Comment("sample of unknown sensor " + std::to_string(sample.sensorTypeId));
            break;
    }
    std::fflush(out_);
    return ms;
}

double TraceRecorder::Touch(const Linux::TouchRecord& touch)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const double ms = Now();
    writer_.Touch(ms, touch.action, touch.pointerId, touch.x, touch.y, touch.pointerIds);
    std::fflush(out_);
    return ms;
}

bool TraceRecorder::Ok()
{
    std::lock_guard<std::mutex> lock(mutex_);
    return writer_.Ok() && std::ferror(out_) == 0;
}

}  // namespace Tarvo::Live
