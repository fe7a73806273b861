// Any text as a trace: the parser accepts it or names the problem, never crashes.
#include <cstdint>
#include <string>
#include <vector>

#include "trace_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<Tarvo::Tools::TraceRecord> records;
    std::string error;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (!Tarvo::Tools::TraceParser::ParseText("fuzz", text, records, error) && error.empty()) {
        __builtin_trap();  // a rejection must say why
    }
    return 0;
}
