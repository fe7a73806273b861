#include "output_writer.h"

#include <cjson/cJSON.h>

#include <cmath>
#include <cstdlib>
#include <memory>

namespace Tarvo::Tools {
namespace {

using JsonPtr = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

std::string Print(cJSON* object)
{
    char* text = cJSON_PrintUnformatted(object);
    std::string line = text != nullptr ? text : "{}";
    cJSON_free(text);
    return line;
}

void AddStamp(cJSON* object, std::optional<double> stamp)
{
    if (!stamp.has_value()) {
        return;
    }
    // Whole milliseconds print as the trace writes them ("t":100), fractions as needed.
    std::string text = OutputWriter::JsonDouble(*stamp);
    if (text.size() > 2 && text.compare(text.size() - 2, 2, ".0") == 0) {
        text.resize(text.size() - 2);
    }
    cJSON_AddItemToObject(object, "t", cJSON_CreateRaw(text.c_str()));
}

}  // namespace

std::string OutputWriter::JsonDouble(double value)
{
    if (!std::isfinite(value)) {
        return "null";
    }
    char buffer[32];
    // Whole numbers in fixed notation ("300.0"), the rest in their shortest exact form.
    if (std::floor(value) == value && std::fabs(value) < 1e16) {
        std::snprintf(buffer, sizeof(buffer), "%.0f.0", value);
        return buffer;
    }
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(buffer, sizeof(buffer), "%.*g", precision, value);
        if (std::strtod(buffer, nullptr) == value) {
            break;
        }
    }
    std::string text = buffer;
    if (text.find_first_of(".eEn") == std::string::npos) {
        text += ".0";
    }
    return text;
}

void OutputWriter::HostCall(const std::string& call, std::optional<int32_t> arg, int result,
                            std::optional<double> stamp)
{
    CallLine(call, arg, std::to_string(result), false, false, result, stamp);
}

void OutputWriter::HostQuery(const std::string& call, std::optional<int32_t> arg, bool result,
                             std::optional<double> stamp)
{
    CallLine(call, arg, result ? "true" : "false", true, result, 0, stamp);
}

void OutputWriter::CallLine(const std::string& call, std::optional<int32_t> arg,
                            const std::string& text, bool isBool, bool boolValue, int intValue,
                            std::optional<double> stamp)
{
    if (!json_) {
        Write(call + (arg.has_value() ? " " + std::to_string(*arg) : "") + " -> " + text);
        return;
    }
    JsonPtr object(cJSON_CreateObject(), cJSON_Delete);
    AddStamp(object.get(), stamp);
    cJSON_AddStringToObject(object.get(), "call", call.c_str());
    if (arg.has_value()) {
        cJSON_AddNumberToObject(object.get(), "arg", *arg);
    }
    if (isBool) {
        cJSON_AddBoolToObject(object.get(), "result", boolValue ? 1 : 0);
    } else {
        cJSON_AddNumberToObject(object.get(), "result", intValue);
    }
    Write(Print(object.get()));
}

void OutputWriter::Report(const Quil::MotionData& data, std::optional<double> stamp)
{
    if (!json_) {
        Write("report " + data.Dump());
        return;
    }
    JsonPtr object(cJSON_CreateObject(), cJSON_Delete);
    AddStamp(object.get(), stamp);
    cJSON* report = cJSON_AddObjectToObject(object.get(), "report");
    cJSON_AddNumberToObject(report, "type", data.type);
    cJSON_AddNumberToObject(report, "result", data.result);
    cJSON_AddNumberToObject(report, "status", data.status);
    cJSON_AddNumberToObject(report, "action", data.action);
    cJSON_AddNumberToObject(report, "direction", data.direction);
    cJSON_AddNumberToObject(report, "rotateAction", data.rotateAction);
    cJSON_AddItemToObject(report, "move", cJSON_CreateRaw(JsonDouble(data.move).c_str()));
    Write(Print(object.get()));
}

void OutputWriter::Write(const std::string& line)
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::fputs(line.c_str(), out_);
    std::fputc('\n', out_);
}

void OutputWriter::Flush()
{
    std::lock_guard<std::mutex> lock(mutex_);
    std::fflush(out_);
}

}  // namespace Tarvo::Tools
