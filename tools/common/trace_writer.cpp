#include "trace_writer.h"

#include <cmath>
#include <cstdlib>

namespace Tarvo::Tools {

bool TraceWriter::Copy(std::FILE* from, std::FILE* to)
{
    std::rewind(from);
    char buffer[1 << 16];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, from)) > 0) {
        if (std::fwrite(buffer, 1, got, to) != got) {
            return false;
        }
    }
    return std::ferror(from) == 0 && std::fflush(to) == 0;
}

void TraceWriter::Comment(const std::string& text)
{
    size_t start = 0;
    while (true) {
        const size_t end = text.find('\n', start);
        const std::string line = text.substr(start, end == std::string::npos ? end : end - start);
        Line(line.empty() ? "#" : "# " + line);
        if (end == std::string::npos) {
            break;
        }
        start = end + 1;
    }
}

void TraceWriter::Enable(int32_t type)
{
    Line("enable " + std::to_string(type));
}

void TraceWriter::Disable(int32_t type)
{
    Line("disable " + std::to_string(type));
}

void TraceWriter::Acc(double ms, float x, float y, float z)
{
    Line(Stamp(ms) + "acc " + FormatFloat(x) + " " + FormatFloat(y) + " " + FormatFloat(z));
}

void TraceWriter::Light(double ms, float intensity)
{
    Line(Stamp(ms) + "light " + FormatFloat(intensity));
}

void TraceWriter::Prox(double ms, float distance)
{
    Line(Stamp(ms) + "prox " + FormatFloat(distance));
}

void TraceWriter::Touch(double ms, int32_t action, int32_t id, int32_t x, int32_t y,
                        const std::vector<int32_t>& ids)
{
    std::string text = Stamp(ms) + "touch ";
    switch (action) {
        case kDown:
            text += "down ";
            break;
        case kMove:
            text += "move ";
            break;
        case kUp:
            text += "up ";
            break;
        default:
            text += std::to_string(action) + " ";
            break;
    }
    text += std::to_string(id) + " " + std::to_string(x) + " " + std::to_string(y) + " ";
    if (ids.empty()) {
        text += "-";
    }
    for (size_t i = 0; i < ids.size(); ++i) {
        text += (i == 0 ? "" : ",") + std::to_string(ids[i]);
    }
    Line(text);
}

std::string TraceWriter::FormatStamp(double ms)
{
    if (!std::isfinite(ms) || ms < 0.0) {
        ms = 0.0;
    }
    char buffer[512];  // room for the largest double in fixed notation
    std::snprintf(buffer, sizeof buffer, "%.3f", ms);
    std::string text = buffer;
    while (text.back() == '0') {
        text.pop_back();
    }
    if (text.back() == '.') {
        text.pop_back();
    }
    return text;
}

std::string TraceWriter::FormatFloat(float value)
{
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-inf" : "inf";
    }
    char buffer[64];
    for (int digits = 6; digits <= 9; ++digits) {
        std::snprintf(buffer, sizeof buffer, "%.*g", digits, static_cast<double>(value));
        if (std::strtof(buffer, nullptr) == value) {
            break;
        }
    }
    return buffer;
}

std::string TraceWriter::Stamp(double ms)
{
    if (std::isfinite(ms) && ms > lastMs_) {
        lastMs_ = ms;
    }
    return "@" + FormatStamp(lastMs_) + " ";
}

void TraceWriter::Line(const std::string& text)
{
    if (std::fputs(text.c_str(), out_) < 0 || std::fputc('\n', out_) == EOF) {
        ok_ = false;
    }
}

}  // namespace Tarvo::Tools
