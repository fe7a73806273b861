// Any text as a CSV log, an evemu recording and a getevent dump: each reader accepts it
// or names the problem, never crashes.
#include <cstdint>
#include <sstream>
#include <string>

#include "csv_reader.h"
#include "evemu_reader.h"
#include "getevent_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace Tarvo::Import;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string error;
    {
        std::istringstream in(text);
        CsvReader::Counts counts;
        if (!CsvReader::Read(
                in, "fuzz", {}, [](const CsvReader::Layout&) {}, [](const SensorSample&) {}, counts,
                error) &&
            error.empty()) {
            __builtin_trap();  // a rejection must say why
        }
    }
    auto axis = [](const std::string&, uint16_t, int32_t, int32_t) {};
    auto event = [](const std::string&, const RawEvent&) {};
    error.clear();
    std::istringstream evemu(text);
    if (!EvemuReader::Read(evemu, "fuzz", axis, event, error) && error.empty()) {
        __builtin_trap();
    }
    error.clear();
    std::istringstream getevent(text);
    if (!GeteventReader::Read(getevent, "fuzz", axis, event, error) && error.empty()) {
        __builtin_trap();
    }
    return 0;
}
