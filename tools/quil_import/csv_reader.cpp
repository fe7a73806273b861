#include "csv_reader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "line_error.h"
#include "trace_format.h"

namespace Tarvo::Import {
namespace {

constexpr float kStandardGravity = 9.80665F;
constexpr size_t kLookaheadRows = 64;
// Median magnitudes below this are taken as g: at rest a phone reads 1 g or 9.8 m/s².
constexpr double kMagnitudeSplit = 4.0;

std::string Trim(const std::string& text)
{
    size_t begin = 0;
    size_t end = text.size();
    while (begin < end && std::isspace(static_cast<unsigned char>(text[begin]))) {
        ++begin;
    }
    while (end > begin && std::isspace(static_cast<unsigned char>(text[end - 1]))) {
        --end;
    }
    std::string out = text.substr(begin, end - begin);
    if (out.size() >= 2 && out.front() == '"' && out.back() == '"') {
        out = out.substr(1, out.size() - 2);
    }
    return out;
}

std::vector<std::string> Split(const std::string& line, char delimiter)
{
    std::vector<std::string> cells;
    if (delimiter == ' ') {
        size_t i = 0;
        while (i < line.size()) {
            while (i < line.size() && std::isspace(static_cast<unsigned char>(line[i]))) {
                ++i;
            }
            const size_t start = i;
            while (i < line.size() && !std::isspace(static_cast<unsigned char>(line[i]))) {
                ++i;
            }
            if (i > start) {
                cells.push_back(line.substr(start, i - start));
            }
        }
        return cells;
    }
    size_t start = 0;
    while (true) {
        const size_t end = line.find(delimiter, start);
        cells.push_back(Trim(line.substr(start, end == std::string::npos ? end : end - start)));
        if (end == std::string::npos) {
            return cells;
        }
        start = end + 1;
    }
}

bool ParseNumber(const std::string& text, double& value)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    value = std::strtod(text.c_str(), &end);
    return end == text.c_str() + text.size();
}

std::string Lower(std::string text)
{
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

bool Contains(const std::string& text, const char* part)
{
    return text.find(part) != std::string::npos;
}

bool EndsWith(const std::string& text, const std::string& suffix)
{
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

// The unit a column name states, as a suffix ("time_ns", "x (g)", "acc_x[m/s^2]").
std::optional<TimeUnit> TimeUnitOfName(const std::string& name)
{
    const std::string n = Lower(name);
    // Bracketed units anywhere, bare ones only at the end ("time_since_boot" is no unit).
    const std::pair<TimeUnit, std::vector<std::string>> kUnits[] = {
        {TimeUnit::NS, {"ns", "nsec", "nanos", "nanoseconds"}},
        {TimeUnit::US, {"us", "usec", "µs", "micros", "microseconds"}},
        {TimeUnit::MS, {"ms", "msec", "millis", "milliseconds"}},
        {TimeUnit::S, {"s", "sec", "secs", "seconds"}},
    };
    for (const auto& [unit, names] : kUnits) {
        for (const std::string& u : names) {
            if (Contains(n, ("(" + u + ")").c_str()) || Contains(n, ("[" + u + "]").c_str()) ||
                n == u || EndsWith(n, "_" + u) || EndsWith(n, " " + u) || EndsWith(n, "-" + u) ||
                (u.size() > 2 && EndsWith(n, u))) {
                return unit;
            }
        }
    }
    return std::nullopt;
}

std::optional<AccUnit> AccUnitOfName(const std::string& name)
{
    const std::string n = Lower(name);
    for (const char* s : {"m/s", "ms2", "ms^2", "ms-2", "ms^-2", "mps2", "m s-2"}) {
        if (Contains(n, s)) {
            return AccUnit::MS2;
        }
    }
    for (const char* s : {"(g)", "[g]", "_g", " g", "-g", "(gs)", "in g"}) {
        if (Contains(n, s) && (EndsWith(n, std::string(s)) || s[0] == '(' || s[0] == '[')) {
            return AccUnit::G;
        }
    }
    return std::nullopt;
}

// The name without its unit: "acc_x (m/s^2)" -> "acc_x", "x_g" -> "x".
std::string BaseName(const std::string& name)
{
    std::string n = Lower(name);
    for (const char* cut : {"(", "[", "m/s"}) {
        const size_t at = n.find(cut);
        if (at != std::string::npos) {
            n = n.substr(0, at);
        }
    }
    n = Trim(n);
    for (const char* suffix : {"_g", " g", "-g", "_ms2", "_mps2", "_ms", "_ns", "_us", "_s"}) {
        if (EndsWith(n, suffix) && n.size() > std::string(suffix).size()) {
            n = n.substr(0, n.size() - std::string(suffix).size());
            break;
        }
    }
    std::string alnum;
    for (char c : n) {
        if (std::isalnum(static_cast<unsigned char>(c))) {
            alnum += c;
        }
    }
    return alnum;
}

bool IsOtherSensor(const std::string& base)
{
    for (const char* other : {"gyro", "mag", "rot", "orient", "linear", "grav", "quat", "angle",
                              "gps", "lat", "lon", "pitch", "roll", "azimuth", "step"}) {
        if (Contains(base, other)) {
            return true;
        }
    }
    return false;
}

// The columns a header names; the name of the first column it lacks, or null.
const char* MapHeader(const std::vector<std::string>& header, CsvReader::Layout& layout,
                      std::optional<TimeUnit>& timeUnit, std::optional<AccUnit>& accUnit)
{
    layout.time = layout.x = layout.y = layout.z = -1;
    int axisScore[3] = {0, 0, 0};
    for (size_t i = 0; i < header.size(); ++i) {
        const int column = static_cast<int>(i);
        const std::string base = BaseName(header[i]);
        if (base.empty()) {
            continue;
        }
        if (Contains(base, "prox")) {
            layout.prox = layout.prox < 0 ? column : layout.prox;
        } else if (Contains(base, "light") || Contains(base, "lux") || Contains(base, "illum")) {
            layout.light = layout.light < 0 ? column : layout.light;
        } else if (Contains(base, "time") || Contains(base, "stamp") || Contains(base, "elapsed") ||
                   Contains(base, "nanos") || base == "t" || base == "ts" || base == "ns" ||
                   base == "ms" || base == "us" || base == "s" || base == "sec" ||
                   base == "seconds") {
            if (layout.time < 0) {
                layout.time = column;
                timeUnit = TimeUnitOfName(header[i]);
            }
        } else if (!IsOtherSensor(base)) {
            const char last = base.back();
            const int axis = last == 'x' ? 0 : last == 'y' ? 1 : last == 'z' ? 2 : -1;
            if (axis < 0) {
                continue;
            }
            // Prefer columns that say they are acceleration, when several end in x/y/z.
            const int score = Contains(base, "acc") ? 2 : 1;
            if (score > axisScore[axis]) {
                axisScore[axis] = score;
                (axis == 0 ? layout.x : axis == 1 ? layout.y : layout.z) = column;
                if (auto unit = AccUnitOfName(header[i])) {
                    accUnit = unit;
                }
            }
        }
    }
    return layout.time < 0 ? "time"
           : layout.x < 0  ? "x"
           : layout.y < 0  ? "y"
           : layout.z < 0  ? "z"
                           : nullptr;
}

int LastAccColumn(const CsvReader::Layout& layout)
{
    return std::max({layout.time, layout.x, layout.y, layout.z});
}

TimeUnit UnitFromSpacing(double spacing)
{
    // Sensor logs sample at 1 Hz to 1 kHz: the raw spacing falls in one band per unit.
    if (spacing <= 0.5) {
        return TimeUnit::S;
    }
    if (spacing <= 500.0) {
        return TimeUnit::MS;
    }
    if (spacing <= 5e5) {
        return TimeUnit::US;
    }
    return TimeUnit::NS;
}

double MsPerUnit(TimeUnit unit)
{
    switch (unit) {
        case TimeUnit::S:
            return 1000.0;
        case TimeUnit::MS:
            return 1.0;
        case TimeUnit::US:
            return 1e-3;
        case TimeUnit::NS:
            break;
    }
    return 1e-6;
}

// Out-of-range values become infinities, as strtof would give them; a plain cast of
// such a double is undefined.
float ToFloat(double value)
{
    if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max()) {
        return value < 0 ? -std::numeric_limits<float>::infinity()
                         : std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(value);
}

double Median(std::vector<double> values)
{
    if (values.empty()) {
        return 0.0;
    }
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

}  // namespace

const char* TimeUnitName(TimeUnit unit)
{
    switch (unit) {
        case TimeUnit::S:
            return "s";
        case TimeUnit::MS:
            return "ms";
        case TimeUnit::US:
            return "us";
        case TimeUnit::NS:
            break;
    }
    return "ns";
}

const char* AccUnitName(AccUnit unit)
{
    return unit == AccUnit::G ? "g" : "m/s^2";
}

bool CsvReader::Read(Tools::LineReader& lines, const Options& options, const LayoutSink& onLayout,
                     const SampleSink& onSample, Counts& counts, std::string& error)
{
    CsvReader reader(lines.Name(), options, onLayout, onSample, counts, error);
    std::string_view line;
    while (lines.Next(line, error)) {
        std::string text(line);
        if (!text.empty() && text.back() == '\r') {
            text.pop_back();
        }
        const std::string trimmed = Trim(text);
        if (trimmed.empty() || trimmed[0] == '#') {
            continue;
        }
        if (!reader.haveDialect_) {
            reader.layout_.delimiter = Contains(trimmed, ",")    ? ','
                                       : Contains(trimmed, ";")  ? ';'
                                       : Contains(trimmed, "\t") ? '\t'
                                                                 : ' ';
        }
        if (!reader.TakeRow(Row{lines.Line(), Split(trimmed, reader.layout_.delimiter)})) {
            return false;
        }
    }
    if (!error.empty() || (!reader.settled_ && !reader.SettleUnits())) {
        return false;
    }
    if (counts.samples == 0) {
        error = lines.Name() + ": no usable sample";
        return false;
    }
    return true;
}

CsvReader::CsvReader(const std::string& name, const Options& options, const LayoutSink& onLayout,
                     const SampleSink& onSample, Counts& counts, std::string& error)
    : name_(name),
      options_(options),
      onLayout_(onLayout),
      onSample_(onSample),
      counts_(counts),
      error_(error)
{
}

bool CsvReader::Fail(int line, const std::string& problem)
{
    error_ = Tools::LineError(name_, line, problem);
    return false;
}

bool CsvReader::TakeRow(Row row)
{
    if (!haveDialect_) {
        return TakeFirstRow(std::move(row));
    }
    if (settled_) {
        return Emit(row);
    }
    held_.push_back(std::move(row));
    return held_.size() < kLookaheadRows || SettleUnits();
}

bool CsvReader::TakeFirstRow(Row first)
{
    haveDialect_ = true;
    double ignored = 0.0;
    layout_.header =
        !std::all_of(first.cells.begin(), first.cells.end(),
                     [&ignored](const std::string& cell) { return ParseNumber(cell, ignored); });
    if (layout_.header) {
        const char* missing = MapHeader(first.cells, layout_, headerTime_, headerAcc_);
        return missing == nullptr ||
               Fail(first.line, std::string("the header names no ") + missing + " column");
    }
    if (first.cells.size() < 4) {
        return Fail(first.line, "expected a header or at least 4 columns (time, x, y, z), got " +
                                    std::to_string(first.cells.size()));
    }
    held_.push_back(std::move(first));
    return true;
}

TimeUnit CsvReader::TimeUnitOfRows() const
{
    // The typical spacing of the first stamps.
    std::vector<double> steps;
    double before = 0.0;
    bool first = true;
    for (const Row& row : held_) {
        double t = 0.0;
        if (static_cast<int>(row.cells.size()) <= LastAccColumn(layout_) ||
            !ParseNumber(row.cells[static_cast<size_t>(layout_.time)], t)) {
            continue;
        }
        if (!first && t > before) {
            steps.push_back(t - before);
        }
        first = false;
        before = t;
    }
    return steps.empty() ? TimeUnit::NS : UnitFromSpacing(Median(steps));
}

AccUnit CsvReader::AccUnitOfRows() const
{
    std::vector<double> magnitudes;
    for (const Row& row : held_) {
        double v[3] = {0.0, 0.0, 0.0};
        if (static_cast<int>(row.cells.size()) > LastAccColumn(layout_) &&
            ParseNumber(row.cells[static_cast<size_t>(layout_.x)], v[0]) &&
            ParseNumber(row.cells[static_cast<size_t>(layout_.y)], v[1]) &&
            ParseNumber(row.cells[static_cast<size_t>(layout_.z)], v[2])) {
            magnitudes.push_back(std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]));
        }
    }
    return !magnitudes.empty() && Median(magnitudes) < kMagnitudeSplit ? AccUnit::G : AccUnit::MS2;
}

bool CsvReader::SettleUnits()
{
    // Each unit from the option, else the header, else what the first rows look like.
    layout_.timeUnitFrom = options_.time ? "option" : headerTime_ ? "header" : "spacing";
    layout_.timeUnit = options_.time ? *options_.time
                       : headerTime_ ? *headerTime_
                                     : TimeUnitOfRows();
    layout_.accUnitFrom = options_.units ? "option" : headerAcc_ ? "header" : "magnitude";
    layout_.accUnit = options_.units ? *options_.units : headerAcc_ ? *headerAcc_ : AccUnitOfRows();
    scale_ = layout_.accUnit == AccUnit::G ? kStandardGravity : 1.0F;
    onLayout_(layout_);
    settled_ = true;
    for (const Row& row : held_) {
        if (!Emit(row)) {
            return false;
        }
    }
    held_.clear();
    return true;
}

bool CsvReader::Number(const Row& row, int column, const char* what, double& value)
{
    const std::string& cell = row.cells[static_cast<size_t>(column)];
    return ParseNumber(cell, value) ||
           Fail(row.line, std::string(what) + " is not a number: " + Tools::Quote(cell));
}

bool CsvReader::Emit(const Row& row)
{
    if (static_cast<int>(row.cells.size()) <= LastAccColumn(layout_)) {
        return Fail(row.line, "expected at least " + std::to_string(LastAccColumn(layout_) + 1) +
                                  " columns, got " + std::to_string(row.cells.size()));
    }
    double t = 0.0;
    double v[3] = {0.0, 0.0, 0.0};
    if (!Number(row, layout_.time, "time", t) || !Number(row, layout_.x, "x", v[0]) ||
        !Number(row, layout_.y, "y", v[1]) || !Number(row, layout_.z, "z", v[2])) {
        return false;
    }
    if (!std::isfinite(t)) {
        return Fail(row.line, "time is not finite");
    }
    SensorSample sample;
    for (int c : {layout_.prox, layout_.light}) {
        double value = 0.0;
        if (c >= 0 && c < static_cast<int>(row.cells.size()) &&
            !row.cells[static_cast<size_t>(c)].empty()) {
            if (!Number(row, c, c == layout_.prox ? "proximity" : "light", value)) {
                return false;
            }
            (c == layout_.prox ? sample.prox : sample.light) = ToFloat(value);
        }
    }
    // A sensor that has not started yet reads exactly zero on every axis; a running
    // accelerometer never does, since gravity is always there.
    if (v[0] == 0.0 && v[1] == 0.0 && v[2] == 0.0) {
        ++counts_.blank;
        return true;
    }
    if (!anySample_) {
        anySample_ = true;
        firstTime_ = lastTime_ = t;
    } else if (t < lastTime_) {
        ++counts_.backwards;
        return true;
    }
    lastTime_ = t;
    sample.timeMs = (t - firstTime_) * MsPerUnit(layout_.timeUnit);
    if (sample.timeMs > Tools::kMaxStampMs) {
        return Fail(row.line,
                    "time lies more than 1000000000000 ms after the first row's, past "
                    "what a trace can hold");
    }
    sample.x = ToFloat(v[0]) * scale_;
    sample.y = ToFloat(v[1]) * scale_;
    sample.z = ToFloat(v[2]) * scale_;
    ++counts_.samples;
    onSample_(sample);
    return true;
}

}  // namespace Tarvo::Import
