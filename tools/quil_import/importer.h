// Turns recordings into one trace: detects each file's format, writes the header
// comments and enable records, then the samples or touches of every file in turn.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>

#include "display_mapper.h"
#include "import_options.h"
#include "input_file.h"
#include "trace_writer.h"

namespace Tarvo::Import {

class Importer {
public:
    // Warnings (guessed axis ranges, dropped events, skipped rows) go to `warnings`.
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
    struct Axes {
        std::map<uint16_t, Input::AxisRange> ranges;  // by ABS code
    };

    bool ImportCsv(Tools::InputFile& input, std::string& error);
    bool ImportEvents(Tools::InputFile& input, Format format, std::string& error);
    void Warn(const std::string& text);

    const ImportOptions& options_;
    Tools::TraceWriter& writer_;
    std::FILE* warnings_;
    double offsetMs_ = 0.0;  // where the next file starts in the trace
    double endMs_ = -1.0;    // last stamp written, -1 before the first
    Axes description_;       // from an evemu .desc file, for the .events files after it
};

}  // namespace Tarvo::Import
