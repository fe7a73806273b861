#include "importer.h"

#include <linux/input-event-codes.h>

#include <algorithm>
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

    writer_.Comment("imported by quil-import from " + [this] {
        std::string names;
        for (const std::string& path : options_.files) {
            names += (names.empty() ? "" : " ") + path;
        }
        return names;
    }());
    writer_.Comment("options: " + options_.Describe());
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
                                                  : ImportEvents(*inputs[i], formats[i], error);
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
        [&survey](const std::string& device, uint16_t code, int32_t min, int32_t max) {
            survey.declared[device].ranges[code] = {min, max};
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

Importer::TouchAxes Importer::ChooseAxes(const EventSurvey& survey, const std::string& path)
{
    // The recording's own ranges (for its touch device, or the only described device
    // with touch axes), then an earlier description, then --axes, then the largest
    // values seen.
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
    TouchAxes chosen;
    for (const Axes* axes : {own, static_cast<const Axes*>(&description_)}) {
        if (axes != nullptr && axes->ranges.count(codeX) != 0 && axes->ranges.count(codeY) != 0) {
            chosen.x = axes->ranges.at(codeX);
            chosen.y = axes->ranges.at(codeY);
            chosen.from = axes == own ? "the recording" : "the description";
            break;
        }
    }
    if (chosen.from.empty() && options_.axes) {
        chosen.x = Input::AxisRange{0, options_.axes->first};
        chosen.y = Input::AxisRange{0, options_.axes->second};
        chosen.from = "--axes";
    }
    if (chosen.from.empty()) {
        const auto big = (multiTouch ? survey.largest : survey.largestSingle).at(device);
        chosen.x = Input::AxisRange{0, big.first};
        chosen.y = Input::AxisRange{0, big.second};
        chosen.from = "the largest values seen";
        Warn(path + ": no axis ranges; scaling X 0.." + std::to_string(big.first) + " and Y 0.." +
             std::to_string(big.second) +
             " (the largest values seen) to the display; give --axes XMAX,YMAX");
    }
    for (const Axes* axes : {own, static_cast<const Axes*>(&description_)}) {
        if (axes != nullptr && axes->ranges.count(ABS_MT_SLOT) != 0) {
            // In 64 bits: a declared maximum may be anything up to INT32_MAX.
            chosen.slots =
                static_cast<int>(std::clamp<int64_t>(int64_t{axes->ranges.at(ABS_MT_SLOT).max} + 1,
                                                     1, Input::MultiTouchDecoder::kMaxSlots));
            break;
        }
    }
    return chosen;
}

bool Importer::DecodeTouches(Tools::InputFile& input, Format format, const std::string& device,
                             const TouchAxes& axes, std::string& error)
{
    const std::string& path = input.Name();
    const Input::DisplayMapper mapper(axes.x, axes.y, options_.width, options_.height,
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
            input, format, [](const std::string&, uint16_t, int32_t, int32_t) {}, onEvent, error)) {
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

bool Importer::ImportEvents(Tools::InputFile& input, Format format, std::string& error)
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
            writer_.Comment(path + ": device description");
            return true;
        }
        error = path + ": no events";
        return false;
    }
    if (!survey.touchDevice) {
        error = path + ": no touch event";
        return false;
    }
    const TouchAxes axes = ChooseAxes(survey, path);
    writer_.Comment(path + ": " + (format == Format::EVEMU ? "evemu" : "getevent") +
                    (survey.touchDevice->empty() ? "" : " " + *survey.touchDevice) + ", X " +
                    Range(axes.x) + ", Y " + Range(axes.y) + " from " + axes.from);
    return DecodeTouches(input, format, *survey.touchDevice, axes, error);
}

}  // namespace Tarvo::Import
