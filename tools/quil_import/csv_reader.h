// Reads accelerometer logs in CSV form: with a header naming the columns (time, x, y,
// z, optionally proximity and light, units as suffixes), or without one in the layout
// time (ns), x, y, z (m/s²), further columns ignored. Streams: only the first rows are
// held, to detect the time unit and the acceleration unit when nothing names them.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

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

private:
    struct Row {
        int line = 0;
        std::vector<std::string> cells;
    };

    CsvReader(const std::string& name, const Options& options, const LayoutSink& onLayout,
              const SampleSink& onSample, Counts& counts, std::string& error);

    // One non-blank line: the first settles the dialect, the next are held until the
    // units are settled, then each row becomes a sample.
    bool TakeRow(Row row);
    // The delimiter, and whether the first row is a header naming the columns.
    bool TakeFirstRow(Row first);
    // The units, from the options, the header or the rows held; then those rows.
    bool SettleUnits();
    TimeUnit TimeUnitOfRows() const;
    AccUnit AccUnitOfRows() const;
    // One row as a sample, or skipped (blank, or its time went back).
    bool Emit(const Row& row);
    bool Number(const Row& row, int column, const char* what, double& value);
    bool Fail(int line, const std::string& problem);

    const std::string& name_;
    const Options& options_;
    const LayoutSink& onLayout_;
    const SampleSink& onSample_;
    Counts& counts_;
    std::string& error_;

    Layout layout_;
    bool haveDialect_ = false;
    bool settled_ = false;
    std::optional<TimeUnit> headerTime_;
    std::optional<AccUnit> headerAcc_;
    std::vector<Row> held_;  // rows read before the units are settled
    bool anySample_ = false;
    double firstTime_ = 0.0;
    double lastTime_ = 0.0;
    float scale_ = 1.0F;
};

}  // namespace Tarvo::Import
