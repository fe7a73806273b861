#include "importer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <vector>

#include "csv_reader.h"
#include "evemu_reader.h"
#include "getevent_reader.h"
#include "line_error.h"
#include "multi_touch_decoder.h"
#include "sensor_resampler.h"
#include "trace_format.h"

namespace Tarvo::Import {
namespace {

constexpr double kGapBetweenFilesMs = 1000.0;
constexpr size_t kDetectBytes = 4096;

// Device motions (pickup, ear, flip, rotation, shake, pocket) and gestures (edge
// swipes right, left, bottom, pinch, three-finger slide).
const std::vector<int32_t> kSensorTypes = {0, 2, 3, 4, 6, 7};
const std::vector<int32_t> kGestureTypes = {9, 10, 11, 12, 13};

bool IsTouchAxis(uint16_t code)
{
    return code == ABS_X || code == ABS_Y || (code >= ABS_MT_SLOT && code <= ABS_MT_TOOL_Y);
}

std::string Range(const Input::AxisRange& range)
{
    return std::to_string(range.min) + ".." + std::to_string(range.max);
}

}  // namespace

Format Importer::Detect(const std::string& firstLines)
{
    if (EvemuReader::Looks(firstLines)) {
        return Format::EVEMU;
    }
    if (GeteventReader::Looks(firstLines)) {
        return Format::GETEVENT;
    }
    return Format::CSV;
}

void Importer::Warn(const std::string& text)
{
    if (warnings_ != nullptr) {
        std::fprintf(warnings_, "quil-import: %s\n", text.c_str());
    }
}

bool Importer::Run(std::string& error)
{
    // Each file is opened once: a pipe is copied as it is read, so that its format can
    // be told from its first bytes and it can then be read from the start, twice.
    std::vector<std::unique_ptr<Tools::InputFile>> inputs;
    std::vector<Format> formats;
    for (const std::string& path : options_.files) {
        inputs.push_back(std::make_unique<Tools::InputFile>());
        if (!inputs.back()->Open(path, error)) {
            return false;
        }
        formats.push_back(options_.format != Format::AUTO
                              ? options_.format
                              : Detect(inputs.back()->Head(kDetectBytes)));
    }
    if (!CheckOptions(formats, error)) {
        return false;
    }
    // Touch recordings are surveyed first, so that the header says how each is read
    // and a recording that cannot be scaled stops the import before anything is written.
    std::vector<EventPlan> plans(options_.files.size());
    std::vector<std::string> notes;
    for (size_t i = 0; i < options_.files.size(); ++i) {
        if (formats[i] != Format::CSV &&
            !PlanEvents(*inputs[i], formats[i], plans[i], notes, error)) {
            return false;
        }
    }

    writer_.Comment("imported by quil-import from " + [this] {
        std::string names;
        for (const std::string& path : options_.files) {
            names += (names.empty() ? "" : " ") + path;
        }
        return names;
    }());
    writer_.Comment("options: " + options_.Describe());
    for (const std::string& note : notes) {
        writer_.Comment(note);
    }
    std::vector<int32_t> enable;
    if (options_.enable) {
        enable = *options_.enable;
    } else {
        const bool sensors = std::count(formats.begin(), formats.end(), Format::CSV) > 0;
        const bool touches = std::count(formats.begin(), formats.end(), Format::CSV) <
                             static_cast<std::ptrdiff_t>(formats.size());
        if (sensors) {
            enable.insert(enable.end(), kSensorTypes.begin(), kSensorTypes.end());
        }
        if (touches) {
            enable.insert(enable.end(), kGestureTypes.begin(), kGestureTypes.end());
        }
    }
    for (int32_t type : enable) {
        writer_.Enable(type);
    }

    for (size_t i = 0; i < options_.files.size(); ++i) {
        const bool ok = formats[i] == Format::CSV ? ImportCsv(*inputs[i], error)
                        : plans[i].device ? DecodeTouches(*inputs[i], formats[i], *plans[i].device,
                                                          plans[i].axes, error)
                                          : true;
        if (!ok) {
            return false;
        }
    }
    if (endMs_ < 0.0) {
        error = "no usable event in " +
                std::string(options_.files.size() == 1 ? "the recording" : "the recordings");
        return false;
    }
    if (!writer_.Ok()) {
        error = "cannot write the trace";
        return false;
    }
    return true;
}

bool Importer::CheckOptions(const std::vector<Format>& formats, std::string& error) const
{
    const auto logs = std::count(formats.begin(), formats.end(), Format::CSV);
    const bool csv = logs > 0;
    const bool touches = logs < static_cast<std::ptrdiff_t>(formats.size());
    const char* touchOption = options_.rotate != 0 ? "--rotate"
                              : options_.axes      ? "--axes"
                              : options_.guessAxes ? "--guess-axes"
                                                   : nullptr;
    if (!touches && touchOption != nullptr) {
        error = std::string(touchOption) +
                " applies to touch recordings, and every file given is a sensor log (CSV)";
        return false;
    }
    const char* csvOption = options_.time ? "--time" : options_.units ? "--units" : nullptr;
    if (!csv && csvOption != nullptr) {
        error = std::string(csvOption) +
                " applies to sensor logs (CSV), and every file given is a touch recording";
        return false;
    }
    return true;
}

bool Importer::ImportCsv(Tools::InputFile& input, std::string& error)
{
    const std::string& path = input.Name();
    if (!input.Rewind(error)) {
        return false;
    }
    Tools::LineReader lines(path, input.File());
    const double offset = offsetMs_;
    double end = -1.0;
    bool tooLate = false;
    SensorResampler resampler(options_.intervalMs, [&](double tickMs, const SensorSample& s) {
        const double at = offset + tickMs;
        if (at > Tools::kMaxStampMs) {
            tooLate = true;
            return;
        }
        if (s.prox) {
            writer_.Prox(at, *s.prox);
        }
        if (s.light) {
            writer_.Light(at, *s.light);
        }
        writer_.Acc(at, s.x, s.y, s.z);
        end = at;
    });
    CsvReader::Options csvOptions{options_.time, options_.units};
    CsvReader::Counts counts;
    auto onLayout = [&](const CsvReader::Layout& layout) {
        std::string text = path + ": CSV " +
                           (layout.header ? "with a header" : "without a header") + ", time in " +
                           TimeUnitName(layout.timeUnit) + " (from the " + layout.timeUnitFrom +
                           "), acceleration in " + AccUnitName(layout.accUnit) + " (from the " +
                           layout.accUnitFrom + ")";
        if (layout.prox >= 0) {
            text += ", proximity";
        }
        if (layout.light >= 0) {
            text += ", light";
        }
        writer_.Comment(text);
    };
    if (!CsvReader::Read(
            lines, csvOptions, onLayout, [&](const SensorSample& s) { resampler.Add(s); }, counts,
            error)) {
        return false;
    }
    resampler.Finish();
    if (tooLate) {
        error = path +
                ": the recordings before it leave it no room in a trace "
                "(at most 1000000000000 ms)";
        return false;
    }
    if (counts.backwards > 0) {
        Warn(path + ": skipped " + std::to_string(counts.backwards) + " rows whose time went back");
    }
    if (counts.blank > 0) {
        Warn(path + ": skipped " + std::to_string(counts.blank) +
             " all-zero rows (sensor not running yet)");
    }
    endMs_ = std::max(endMs_, end);
    offsetMs_ = endMs_ + kGapBetweenFilesMs;
    return true;
}

bool Importer::ReadEvents(Tools::InputFile& input, Format format, const AxisSink& onAxis,
                          const EventSink& onEvent, std::string& error)
{
    if (!input.Rewind(error)) {
        return false;
    }
    Tools::LineReader lines(input.Name(), input.File());
    return format == Format::EVEMU ? EvemuReader::Read(lines, onAxis, onEvent, error)
                                   : GeteventReader::Read(lines, onAxis, onEvent, error);
}

bool Importer::Survey(Tools::InputFile& input, Format format, EventSurvey& survey,
                      std::string& error)
{
    // What the file declares, which device is the touch screen, the largest values
    // seen, and that every line reads.
    return ReadEvents(
        input, format,
        [&survey](const std::string& device, const RawAxis& axis) {
            survey.declared[device].ranges[axis.code] = {{axis.min, axis.max}, axis.resolution};
        },
        [&survey](const std::string& device, const RawEvent& e) {
            ++survey.events;
            const bool touch = (e.type == EV_ABS && IsTouchAxis(e.code)) ||
                               (e.type == EV_SYN && e.code == SYN_MT_REPORT);
            if (touch && !survey.touchDevice) {
                survey.touchDevice = device;
            }
            if (e.type == EV_ABS) {
                auto& big =
                    e.code >= ABS_MT_SLOT ? survey.largest[device] : survey.largestSingle[device];
                if (e.code == ABS_MT_POSITION_X || e.code == ABS_X) {
                    big.first = std::max(big.first, e.value);
                } else if (e.code == ABS_MT_POSITION_Y || e.code == ABS_Y) {
                    big.second = std::max(big.second, e.value);
                }
            }
        },
        error);
}

bool Importer::ChooseAxes(const EventSurvey& survey, const std::string& path, Format format,
                          TouchAxes& chosen, std::string& error)
{
    // --axes, then the recording's own ranges (for its touch device, or the only
    // described device with touch axes), then an earlier description, then, when asked
    // for, the largest values seen.
    const std::string& device = *survey.touchDevice;
    const Axes* own = nullptr;
    if (survey.declared.count(device) != 0) {
        own = &survey.declared.at(device);
    } else {
        for (const auto& [other, axes] : survey.declared) {
            if (axes.ranges.count(ABS_MT_POSITION_X) != 0 || axes.ranges.count(ABS_X) != 0) {
                own = &axes;
                break;
            }
        }
    }
    const bool multiTouch = survey.largest.count(device) != 0;
    const uint16_t codeX = multiTouch ? ABS_MT_POSITION_X : ABS_X;
    const uint16_t codeY = multiTouch ? ABS_MT_POSITION_Y : ABS_Y;
    for (const Axes* axes : {own, static_cast<const Axes*>(&description_)}) {
        if (axes != nullptr && axes->ranges.count(codeX) != 0 && axes->ranges.count(codeY) != 0) {
            chosen.x = axes->ranges.at(codeX);
            chosen.y = axes->ranges.at(codeY);
            chosen.from = axes == own ? "the recording" : "the description";
            break;
        }
    }
    if (options_.axes) {
        // Asked for explicitly, so it wins; what it replaces is said.
        const std::string replaced =
            chosen.from.empty()
                ? ""
                : chosen.from + "'s X " + Range(chosen.x.range) + ", Y " + Range(chosen.y.range);
        chosen.x = Axis{Input::AxisRange{0, options_.axes->first}, 0};
        chosen.y = Axis{Input::AxisRange{0, options_.axes->second}, 0};
        chosen.from = "--axes";
        if (!replaced.empty()) {
            chosen.from += ", not " + replaced;
            Warn(path + ": scaling X " + Range(chosen.x.range) + " and Y " + Range(chosen.y.range) +
                 " (--axes) to the display, not " + replaced);
        }
    }
    if (chosen.from.empty()) {
        const auto& largest = multiTouch ? survey.largest : survey.largestSingle;
        const auto found = largest.find(device);
        const std::pair<int32_t, int32_t> big =
            found != largest.end() ? found->second : std::make_pair(0, 0);
        if (big.first <= 0 && big.second <= 0) {
            error = path + ": no usable touch event (no touch position in it)";
            return false;
        }
        const std::string seen =
            "X 0.." + std::to_string(big.first) + ", Y 0.." + std::to_string(big.second);
        if (!options_.guessAxes) {
            error = path + ": no touch axis ranges in the recording" +
                    (format == Format::GETEVENT ? " (a getevent dump without its -p block)" : "") +
                    ": give --axes XMAX,YMAX (getevent -p on the device shows them), or "
                    "--guess-axes to take the largest values seen (" +
                    seen + ")";
            return false;
        }
        chosen.x = Axis{Input::AxisRange{0, big.first}, 0};
        chosen.y = Axis{Input::AxisRange{0, big.second}, 0};
        chosen.from = "the largest values seen (touch axes guessed)";
        chosen.guessed = true;
        Warn(path + ": touch axes guessed: " + seen +
             ", the largest values seen, are scaled to the display; touches at those values "
             "land on its last row and column, in the edge zones");
    }
    for (const Axes* axes : {own, static_cast<const Axes*>(&description_)}) {
        if (axes != nullptr && axes->ranges.count(ABS_MT_SLOT) != 0) {
            // In 64 bits: a declared maximum may be anything up to INT32_MAX.
            chosen.slots = static_cast<int>(
                std::clamp<int64_t>(int64_t{axes->ranges.at(ABS_MT_SLOT).range.max} + 1, 1,
                                    Input::MultiTouchDecoder::kMaxSlots));
            break;
        }
    }
    return true;
}

void Importer::CheckOrientation(const std::string& path, const TouchAxes& axes,
                                std::vector<std::string>& notes)
{
    if (axes.guessed) {
        return;  // the largest values seen tell nothing of the panel's shape
    }
    // The panel's shape in millimetres where both resolutions are known, else in units,
    // then as it lies on the display.
    const bool physical = axes.x.resolution > 0 && axes.y.resolution > 0;
    const double across = (static_cast<double>(axes.x.range.max) - axes.x.range.min) /
                          (physical ? axes.x.resolution : 1);
    const double down = (static_cast<double>(axes.y.range.max) - axes.y.range.min) /
                        (physical ? axes.y.resolution : 1);
    const bool turned = options_.rotate == 90 || options_.rotate == 270;
    constexpr double kSquare = 1.1;  // a longer side within a tenth of the other: square
    const auto longer = [](double a, double b) { return a > b * kSquare; };
    const bool landscape = turned ? longer(down, across) : longer(across, down);
    const bool portrait = turned ? longer(across, down) : longer(down, across);
    const bool displayLandscape = longer(options_.width, options_.height);
    const bool displayPortrait = longer(options_.height, options_.width);
    if (!(landscape && displayPortrait) && !(portrait && displayLandscape)) {
        return;
    }
    std::string shape = "X " + Range(axes.x.range) + ", Y " + Range(axes.y.range);
    if (physical) {
        char size[64];
        std::snprintf(size, sizeof(size), ", %.0f x %.0f mm", across, down);
        shape += size;
    }
    const int turn = (options_.rotate + 90) % 180;
    const std::string note =
        path + ": " +
        (options_.rotate != 0 ? "turned by --rotate " + std::to_string(options_.rotate) + ", "
                              : "") +
        "the panel is " + (landscape ? "landscape" : "portrait") + " (" + shape +
        ") and the display " + (landscape ? "portrait" : "landscape") + " (" +
        std::to_string(options_.width) + "x" + std::to_string(options_.height) +
        "), so touches are stretched out of shape; --rotate " + std::to_string(turn) +
        " turns it upright (or --rotate " + std::to_string(turn + 180) +
        ": a recording does not say which way round the panel is mounted)";
    Warn(note);
    notes.push_back(note);
}

bool Importer::DecodeTouches(Tools::InputFile& input, Format format, const std::string& device,
                             const TouchAxes& axes, std::string& error)
{
    const std::string& path = input.Name();
    const Input::DisplayMapper mapper(axes.x.range, axes.y.range, options_.width, options_.height,
                                      options_.rotate);
    Input::MultiTouchDecoder decoder(axes.slots);
    std::vector<Input::TouchEvent> touches;
    std::optional<int64_t> firstUs;
    std::optional<int> tooLate;  // the line of the first event past a trace's end
    const double offset = offsetMs_;
    double end = -1.0;
    const auto onEvent = [&](const std::string& from, const RawEvent& e) {
        if (from != device) {
            return;
        }
        touches.clear();
        decoder.Feed(e.type, e.code, e.value, e.timeUs, touches);
        if (e.type == EV_SYN && e.code == SYN_DROPPED) {
            Warn(path + ":" + std::to_string(e.line) +
                 ": SYN_DROPPED: events were lost; frames dropped up to the next full report");
        }
        for (const Input::TouchEvent& t : touches) {
            firstUs = firstUs ? firstUs : t.timeUs;  // the trace starts with the first touch
            // In double: the times are the recording's, any 64-bit value.
            const double at =
                offset + (static_cast<double>(t.timeUs) - static_cast<double>(*firstUs)) / 1000.0;
            if (at > Tools::kMaxStampMs) {
                tooLate = tooLate ? tooLate : e.line;
                continue;
            }
            int32_t x = 0;
            int32_t y = 0;
            mapper.Map(t.x, t.y, x, y);
            writer_.Touch(at, static_cast<int32_t>(t.action), t.id, x, y, t.ids);
            end = std::max(end, at);
        }
    };
    if (!ReadEvents(
            input, format, [](const std::string&, const RawAxis&) {}, onEvent, error)) {
        return false;
    }
    if (tooLate) {
        error = Tools::LineError(path, *tooLate,
                                 "this event lies more than 1000000000000 ms after the first "
                                 "touch, past what a trace can hold");
        return false;
    }
    if (end < 0.0) {
        error = path + ": no usable touch event";
        return false;
    }
    endMs_ = std::max(endMs_, end);
    offsetMs_ = endMs_ + kGapBetweenFilesMs;
    return true;
}

bool Importer::PlanEvents(Tools::InputFile& input, Format format, EventPlan& plan,
                          std::vector<std::string>& notes, std::string& error)
{
    const std::string& path = input.Name();
    EventSurvey survey;
    if (!Survey(input, format, survey, error)) {
        return false;
    }
    if (survey.events == 0) {
        // A description on its own (evemu .desc): it serves the files that follow.
        if (format == Format::EVEMU && !survey.declared[""].ranges.empty()) {
            description_ = survey.declared[""];
            notes.push_back(path + ": device description");
            return true;
        }
        error = path + ": no events";
        return false;
    }
    if (!survey.touchDevice) {
        error = path + ": no touch event";
        return false;
    }
    if (!ChooseAxes(survey, path, format, plan.axes, error)) {
        return false;
    }
    plan.device = survey.touchDevice;
    notes.push_back(path + ": " + (format == Format::EVEMU ? "evemu" : "getevent") +
                    (plan.device->empty() ? "" : " " + *plan.device) + ", X " +
                    Range(plan.axes.x.range) + ", Y " + Range(plan.axes.y.range) + " from " +
                    plan.axes.from);
    CheckOrientation(path, plan.axes, notes);
    return true;
}

}  // namespace Tarvo::Import
