// Reads accelerometer logs in CSV form: with a header naming the columns (time, x, y,
// z, optionally proximity and light, units as suffixes), or without one in the layout
// time (ns), x, y, z (m/s²), further columns ignored. Streams: only the first rows are
// held, to detect the time unit and the acceleration unit when nothing names them.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "line_reader.h"

#include "sensor_resampler.h"

namespace Tarvo::Import {

enum class TimeUnit { S, MS, US, NS };
enum class AccUnit { G, MS2 };

const char* TimeUnitName(TimeUnit unit);
const char* AccUnitName(AccUnit unit);

class CsvReader {
public:
    struct Options {
        std::optional<TimeUnit> time;
        std::optional<AccUnit> units;
    };
    // What was found, for the trace's comments.
    struct Layout {
        bool header = false;
        char delimiter = ',';
        int time = 0, x = 1, y = 2, z = 3, prox = -1, light = -1;  // column indexes
        TimeUnit timeUnit = TimeUnit::NS;
        std::string timeUnitFrom;  // "option", "header" or "spacing"
        AccUnit accUnit = AccUnit::MS2;
        std::string accUnitFrom;  // "option", "header" or "magnitude"
    };
    struct Counts {
        size_t samples = 0;
        size_t backwards = 0;  // rows whose time went back, skipped
        size_t blank = 0;      // all-zero rows of a sensor not yet running, skipped
    };
    using LayoutSink = std::function<void(const Layout&)>;
    using SampleSink = std::function<void(const SensorSample&)>;

    // Samples carry milliseconds from the first row and m/s². Errors read
    // "NAME:LINE: problem", with the name of `lines`. `onLayout` runs once, before the first
    // sample.
    static bool Read(Tools::LineReader& lines, const Options& options, const LayoutSink& onLayout,
                     const SampleSink& onSample, Counts& counts, std::string& error);
};

}  // namespace Tarvo::Import
