// Command-line options of quil-import.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "csv_reader.h"

namespace Tarvo::Import {

enum class Format { AUTO, CSV, EVEMU, GETEVENT };

struct ImportOptions {
    Format format = Format::AUTO;
    std::optional<TimeUnit> time;
    std::optional<AccUnit> units;
    double intervalMs = 100.0;  // the interval the library subscribes its sensors with
    int32_t width = 1344;       // the reference display the gesture thresholds are drawn for
    int32_t height = 2772;
    int rotate = 0;
    std::optional<std::vector<int32_t>> enable;
    std::optional<std::pair<int32_t, int32_t>> axes;  // XMAX, YMAX
    bool guessAxes = false;  // without ranges, scale from the largest values seen
    bool help = false;
    bool version = false;
    std::vector<std::string> files;

    // False with `error` set on a usage error.
    static bool Parse(const std::vector<std::string>& args, ImportOptions& options,
                      std::string& error);
    static const char* Usage();
    // The options as a command line would give them, for the trace's header.
    std::string Describe() const;
};

}  // namespace Tarvo::Import
