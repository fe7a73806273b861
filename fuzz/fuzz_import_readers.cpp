// Any text as a CSV log, an evemu recording and a getevent dump: each reader accepts it
// or names the problem, never crashes.
#include <cstdint>
#include <cstdio>
#include <string>

#include "csv_reader.h"
#include "evemu_reader.h"
#include "getevent_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace Tarvo::Import;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string buffer = text;
    // Each reader gets the text as a file of its own, as it would from a recording.
    auto read = [&buffer](const auto& reader) {
        std::FILE* file = fmemopen(buffer.data(), buffer.size(), "r");
        Tarvo::Tools::LineReader lines("fuzz", file);
        const bool ok = reader(lines);
        std::fclose(file);
        return ok;
    };
    std::string error;
    {
        CsvReader::Counts counts;
        if (!read([&](Tarvo::Tools::LineReader& lines) {
                return CsvReader::Read(
                    lines, {}, [](const CsvReader::Layout&) {}, [](const SensorSample&) {}, counts,
                    error);
            }) &&
            error.empty()) {
            __builtin_trap();  // a rejection must say why
        }
    }
    auto axis = [](const std::string&, const RawAxis&) {};
    auto event = [](const std::string&, const RawEvent&) {};
    error.clear();
    if (!read([&](Tarvo::Tools::LineReader& lines) {
            return EvemuReader::Read(lines, axis, event, error);
        }) &&
        error.empty()) {
        __builtin_trap();
    }
    error.clear();
    if (!read([&](Tarvo::Tools::LineReader& lines) {
            return GeteventReader::Read(lines, axis, event, error);
        }) &&
        error.empty()) {
        __builtin_trap();
    }
    return 0;
}
