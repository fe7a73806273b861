#include "importer.h"

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

constexpr uint16_t kEvSyn = 0;
constexpr uint16_t kEvAbs = 3;
constexpr uint16_t kSynMtReport = 2;
constexpr uint16_t kSynDropped = 3;
constexpr uint16_t kAbsX = 0x00;
constexpr uint16_t kAbsY = 0x01;
constexpr uint16_t kAbsMtSlot = 0x2f;
constexpr uint16_t kAbsMtPositionX = 0x35;
constexpr uint16_t kAbsMtPositionY = 0x36;

// Device motions (pickup, ear, flip, rotation, shake, pocket) and gestures (edge
// swipes right, left, bottom, pinch, three-finger slide).
const std::vector<int32_t> kSensorTypes = {0, 2, 3, 4, 6, 7};
const std::vector<int32_t> kGestureTypes = {9, 10, 11, 12, 13};

bool IsTouchAxis(uint16_t code)
{
    return code == kAbsX || code == kAbsY || (code >= kAbsMtSlot && code <= 0x3d);
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

bool Importer::ImportEvents(Tools::InputFile& input, Format format, std::string& error)
{
    const std::string& path = input.Name();
    auto read = [&](const AxisSink& onAxis, const EventSink& onEvent) {
        if (!input.Rewind(error)) {
            return false;
        }
        Tools::LineReader lines(path, input.File());
        return format == Format::EVEMU ? EvemuReader::Read(lines, onAxis, onEvent, error)
                                       : GeteventReader::Read(lines, onAxis, onEvent, error);
    };

    // First pass: what the file declares, which device is the touch screen, the largest
    // values seen, and that every line reads.
    std::map<std::string, Axes> declared;
    std::map<std::string, std::pair<int32_t, int32_t>> largest;  // MT position, per device
    std::map<std::string, std::pair<int32_t, int32_t>> largestSingle;
    std::string touchDevice;
    bool haveTouchDevice = false;
    size_t events = 0;
    const bool pass1 = read(
        [&](const std::string& device, uint16_t code, int32_t min, int32_t max) {
            declared[device].ranges[code] = {min, max};
        },
        [&](const std::string& device, const RawEvent& e) {
            ++events;
            const bool touch = (e.type == kEvAbs && IsTouchAxis(e.code)) ||
                               (e.type == kEvSyn && e.code == kSynMtReport);
            if (touch && !haveTouchDevice) {
                haveTouchDevice = true;
                touchDevice = device;
            }
            if (e.type == kEvAbs) {
                auto& big = e.code >= kAbsMtSlot ? largest[device] : largestSingle[device];
                if (e.code == kAbsMtPositionX || e.code == kAbsX) {
                    big.first = std::max(big.first, e.value);
                } else if (e.code == kAbsMtPositionY || e.code == kAbsY) {
                    big.second = std::max(big.second, e.value);
                }
            }
        });
    if (!pass1) {
        return false;
    }
    if (events == 0) {
        // A description on its own (evemu .desc): it serves the files that follow.
        if (format == Format::EVEMU && !declared[""].ranges.empty()) {
            description_ = declared[""];
            writer_.Comment(path + ": device description");
            return true;
        }
        error = path + ": no events";
        return false;
    }
    if (!haveTouchDevice) {
        error = path + ": no touch event";
        return false;
    }

    // Axis ranges: the recording's own (for its touch device, or the only described
    // device with touch axes), then an earlier description, then --axes, then the
    // largest values seen.
    const Axes* own = nullptr;
    if (declared.count(touchDevice) != 0) {
        own = &declared[touchDevice];
    } else {
        for (const auto& [device, axes] : declared) {
            if (axes.ranges.count(kAbsMtPositionX) != 0 || axes.ranges.count(kAbsX) != 0) {
                own = &axes;
                break;
            }
        }
    }
    const bool multiTouch = largest.count(touchDevice) != 0;
    const uint16_t codeX = multiTouch ? kAbsMtPositionX : kAbsX;
    const uint16_t codeY = multiTouch ? kAbsMtPositionY : kAbsY;
    std::optional<Input::AxisRange> rangeX;
    std::optional<Input::AxisRange> rangeY;
    std::string from;
    for (const Axes* axes : {own, static_cast<const Axes*>(&description_)}) {
        if (axes != nullptr && axes->ranges.count(codeX) != 0 && axes->ranges.count(codeY) != 0) {
            rangeX = axes->ranges.at(codeX);
            rangeY = axes->ranges.at(codeY);
            from = axes == own ? "the recording" : "the description";
            break;
        }
    }
    if (!rangeX && options_.axes) {
        rangeX = Input::AxisRange{0, options_.axes->first};
        rangeY = Input::AxisRange{0, options_.axes->second};
        from = "--axes";
    }
    if (!rangeX) {
        const auto big = multiTouch ? largest[touchDevice] : largestSingle[touchDevice];
        rangeX = Input::AxisRange{0, big.first};
        rangeY = Input::AxisRange{0, big.second};
        from = "the largest values seen";
        Warn(path + ": no axis ranges; scaling X 0.." + std::to_string(big.first) + " and Y 0.." +
             std::to_string(big.second) +
             " (the largest values seen) to the display; give --axes XMAX,YMAX");
    }
    int slots = Input::MultiTouchDecoder::kMaxSlots;
    for (const Axes* axes : {own, static_cast<const Axes*>(&description_)}) {
        if (axes != nullptr && axes->ranges.count(kAbsMtSlot) != 0) {
            // In 64 bits: a declared maximum may be anything up to INT32_MAX.
            slots =
                static_cast<int>(std::clamp<int64_t>(int64_t{axes->ranges.at(kAbsMtSlot).max} + 1,
                                                     1, Input::MultiTouchDecoder::kMaxSlots));
            break;
        }
    }
    writer_.Comment(path + ": " + (format == Format::EVEMU ? "evemu" : "getevent") +
                    (touchDevice.empty() ? "" : " " + touchDevice) + ", X " + Range(*rangeX) +
                    ", Y " + Range(*rangeY) + " from " + from);

    // Second pass: decode and write.
    const Input::DisplayMapper mapper(*rangeX, *rangeY, options_.width, options_.height,
                                      options_.rotate);
    Input::MultiTouchDecoder decoder(slots);
    std::vector<Input::TouchEvent> touches;
    std::optional<int64_t> firstUs;
    std::optional<int> tooLate;  // the line of the first event past a trace's end
    const double offset = offsetMs_;
    double end = -1.0;
    const bool pass2 =
        read([](const std::string&, uint16_t, int32_t, int32_t) {},
             [&](const std::string& device, const RawEvent& e) {
                 if (device != touchDevice) {
                     return;
                 }
                 touches.clear();
                 decoder.Feed(e.type, e.code, e.value, e.timeUs, touches);
                 if (e.type == kEvSyn && e.code == kSynDropped) {
                     Warn(path + ":" + std::to_string(e.line) +
                          ": SYN_DROPPED: events were lost; frames dropped up "
                          "to the next full report");
                 }
                 for (const Input::TouchEvent& t : touches) {
                     if (!firstUs) {
                         firstUs = t.timeUs;  // the trace starts with the first touch
                     }
                     int32_t x = 0;
                     int32_t y = 0;
                     mapper.Map(t.x, t.y, x, y);
                     // In double: the times are the recording's, any 64-bit value.
                     const double at =
                         offset +
                         (static_cast<double>(t.timeUs) - static_cast<double>(*firstUs)) / 1000.0;
                     if (at > Tools::kMaxStampMs) {
                         tooLate = tooLate ? tooLate : e.line;
                         continue;
                     }
                     writer_.Touch(at, static_cast<int32_t>(t.action), t.id, x, y, t.ids);
                     end = std::max(end, at);
                 }
             });
    if (!pass2) {
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

}  // namespace Tarvo::Import
