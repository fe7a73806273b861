#include "record_printer.h"

#include <cjson/cJSON.h>

#include <charconv>
#include <cmath>
#include <memory>

#include "output_writer.h"

namespace Tarvo::Tools {
namespace {

using JsonPtr = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

std::string Print(const JsonPtr& object)
{
    char* text = cJSON_PrintUnformatted(object.get());
    std::string printed = text != nullptr ? text : "{}";
    cJSON_free(text);
    return printed;
}

cJSON* NonFinite(double value)
{
    return cJSON_CreateString(std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf");
}

cJSON* Number(double value)
{
    return std::isfinite(value) ? cJSON_CreateRaw(OutputWriter::JsonDouble(value).c_str())
                                : NonFinite(value);
}

// The shortest text that reads back as the same float: 0.1, not 0.10000000149011612.
cJSON* Number(float value)
{
    if (!std::isfinite(value)) {
        return NonFinite(value);
    }
    char text[64];
    const auto [end, ec] = std::to_chars(text, text + sizeof(text), value);
    return cJSON_CreateRaw(ec == std::errc{} ? std::string(text, end).c_str() : "0");
}

cJSON* Ints(const std::vector<int32_t>& values)
{
    cJSON* array = cJSON_CreateArray();
    for (int32_t value : values) {
        cJSON_AddItemToArray(array, cJSON_CreateNumber(value));
    }
    return array;
}

const char* Name(RecordKind kind)
{
    switch (kind) {
        case RecordKind::ENABLE:
            return "enable";
        case RecordKind::DISABLE:
            return "disable";
        case RecordKind::DISABLE_COUNT:
            return "disable-count";
        case RecordKind::SUPPORTED:
            return "supported";
        case RecordKind::IDLE:
            return "idle";
        case RecordKind::REGISTER:
            return "register";
        case RecordKind::UNREGISTER:
            return "unregister";
        case RecordKind::SAMPLE:
            return "sample";
        case RecordKind::NULL_EVENT:
            return "null-event";
        case RecordKind::TOUCH:
            return "touch";
        case RecordKind::TOUCH_NO_ITEM:
            return "touch-noitem";
        case RecordKind::DEVICE_SENSORS:
            return "device-sensors";
        case RecordKind::FAIL:
            return "fail";
        case RecordKind::HEAL:
            return "heal";
        case RecordKind::MONITOR_ID:
            return "monitor-id";
        case RecordKind::HOST_RETURN:
            return "host-return";
    }
    return "unknown";
}

}  // namespace

std::string RecordPrinter::Heading(const std::string& file, const std::string& heading)
{
    JsonPtr object(cJSON_CreateObject(), cJSON_Delete);
    cJSON_AddStringToObject(object.get(), "file", file.c_str());
    cJSON_AddStringToObject(object.get(), "heading", heading.c_str());
    return Print(object);
}

std::string RecordPrinter::Record(const TraceRecord& record)
{
    JsonPtr object(cJSON_CreateObject(), cJSON_Delete);
    cJSON* json = object.get();
    cJSON_AddStringToObject(json, "file", record.file.c_str());
    cJSON_AddNumberToObject(json, "line", record.line);
    if (record.stamp.has_value()) {
        cJSON_AddItemToObject(json, "t", Number(*record.stamp));
    }
    cJSON_AddStringToObject(json, "record", Name(record.kind));
    switch (record.kind) {
        case RecordKind::ENABLE:
        case RecordKind::DISABLE:
        case RecordKind::DISABLE_COUNT:
        case RecordKind::SUPPORTED:
            cJSON_AddNumberToObject(json, "arg", record.value);
            break;
        case RecordKind::SAMPLE: {
            cJSON_AddNumberToObject(json, "sensor", record.value);
            cJSON* values = cJSON_AddArrayToObject(json, "values");
            for (float value : record.floats) {
                cJSON_AddItemToArray(values, Number(value));
            }
            break;
        }
        case RecordKind::TOUCH:
            cJSON_AddNumberToObject(json, "action", record.action);
            cJSON_AddNumberToObject(json, "id", record.pointerId);
            cJSON_AddNumberToObject(json, "x", record.x);
            cJSON_AddNumberToObject(json, "y", record.y);
            cJSON_AddItemToObject(json, "ids", Ints(record.ids));
            break;
        case RecordKind::TOUCH_NO_ITEM:
            cJSON_AddNumberToObject(json, "action", record.action);
            cJSON_AddNumberToObject(json, "id", record.pointerId);
            cJSON_AddItemToObject(json, "ids", Ints(record.ids));
            break;
        case RecordKind::DEVICE_SENSORS:
            cJSON_AddItemToObject(json, "ids", Ints(record.ids));
            break;
        case RecordKind::FAIL:
        case RecordKind::HEAL:
            cJSON_AddStringToObject(
                json, "call",
                std::string(kServiceCallNames[static_cast<size_t>(record.call)]).c_str());
            if (record.callSensor.has_value()) {
                cJSON_AddNumberToObject(json, "sensor", *record.callSensor);
            }
            break;
        case RecordKind::MONITOR_ID:
        case RecordKind::HOST_RETURN:
            cJSON_AddNumberToObject(json, "value", record.value);
            break;
        case RecordKind::IDLE:
        case RecordKind::REGISTER:
        case RecordKind::UNREGISTER:
        case RecordKind::NULL_EVENT:
            break;
    }
    return Print(object);
}

bool RecordPrinter::PrintAll(TraceFiles& traces, std::FILE* out, std::string& error)
{
    TraceRecord record;
    std::string file;
    bool first = true;
    while (traces.Next(record, error)) {
        if (first || record.file != file) {
            first = false;
            file = record.file;
            std::fprintf(out, "%s\n", Heading(file, traces.Heading()).c_str());
        }
        std::fprintf(out, "%s\n", Record(record).c_str());
    }
    if (error.empty() && std::fflush(out) != 0) {
        error = "cannot write the records";
    }
    return error.empty();
}

}  // namespace Tarvo::Tools
