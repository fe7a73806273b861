// Turns recordings into one trace: detects each file's format, reads each touch
// recording once to learn its device and axes, writes the header comments (the files,
// the options, what was learnt) and enable records, then the samples or touches of every
// file in turn.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "display_mapper.h"
#include "import_options.h"
#include "input_file.h"
#include "multi_touch_decoder.h"
#include "raw_event.h"
#include "trace_writer.h"

namespace Tarvo::Import {

class Importer {
public:
    // Warnings (guessed axis ranges, a panel turned the wrong way, dropped events, skipped
    // rows) go to `warnings`.
    Importer(const ImportOptions& options, Tools::TraceWriter& writer, std::FILE* warnings)
        : options_(options), writer_(writer), warnings_(warnings)
    {
    }

    // False with "FILE:LINE: problem" (or "FILE: problem") in `error`; the caller then
    // discards whatever was written.
    bool Run(std::string& error);

    // The format of a recording from its first lines.
    static Format Detect(const std::string& firstLines);

private:
    struct Axis {
        Input::AxisRange range;
        int32_t resolution = 0;  // units per millimetre, 0 when unknown
    };
    struct Axes {
        std::map<uint16_t, Axis> ranges;  // by ABS code
    };

    // What a first pass over an event recording finds.
    struct EventSurvey {
        std::map<std::string, Axes> declared;                        // by device
        std::map<std::string, std::pair<int32_t, int32_t>> largest;  // MT positions, per device
        std::map<std::string, std::pair<int32_t, int32_t>> largestSingle;
        std::optional<std::string> touchDevice;  // the first device with touch events
        size_t events = 0;
    };
    // The ranges touches are scaled from, where they came from, and the slot count.
    struct TouchAxes {
        Axis x;
        Axis y;
        std::string from;
        bool guessed = false;  // the largest values seen, not the panel's own ranges
        int slots = Input::MultiTouchDecoder::kMaxSlots;
    };
    // How the second pass reads one event recording; no device for a description.
    struct EventPlan {
        std::optional<std::string> device;
        TouchAxes axes;
    };

    // Options that apply to no file given are refused rather than ignored.
    bool CheckOptions(const std::vector<Format>& formats, std::string& error) const;
    bool ImportCsv(Tools::InputFile& input, std::string& error);
    bool ReadEvents(Tools::InputFile& input, Format format, const AxisSink& onAxis,
                    const EventSink& onEvent, std::string& error);
    // The first pass: which device, which axes; what it learns goes to `notes`, for the
    // trace's header.
    bool PlanEvents(Tools::InputFile& input, Format format, EventPlan& plan,
                    std::vector<std::string>& notes, std::string& error);
    bool Survey(Tools::InputFile& input, Format format, EventSurvey& survey, std::string& error);
    bool ChooseAxes(const EventSurvey& survey, const std::string& path, Format format,
                    TouchAxes& chosen, std::string& error);
    // A landscape panel on a portrait display (or the other way round) is named, with
    // the --rotate that turns it: which way a panel is mounted no recording says.
    void CheckOrientation(const std::string& path, const TouchAxes& axes,
                          std::vector<std::string>& notes);
    // The second pass: the touch device's events decoded, scaled and written.
    bool DecodeTouches(Tools::InputFile& input, Format format, const std::string& device,
                       const TouchAxes& axes, std::string& error);
    void Warn(const std::string& text);

    const ImportOptions& options_;
    Tools::TraceWriter& writer_;
    std::FILE* warnings_;
    double offsetMs_ = 0.0;  // where the next file starts in the trace
    double endMs_ = -1.0;    // last stamp written, -1 before the first
    Axes description_;       // from an evemu .desc file, for the .events files after it
};

}  // namespace Tarvo::Import
