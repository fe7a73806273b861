#include "import_options.h"

#include <climits>

#include "line_error.h"
#include "option_parser.h"
#include "trace_writer.h"

namespace Tarvo::Import {

const char* ImportOptions::Usage()
{
    return "usage: quil-import [options] FILE...\n"
           "Turns real recordings into a motion trace for quil-replay, on standard output:\n"
           "accelerometer logs (CSV), evemu recordings (.evemu, or .desc then .events) and\n"
           "getevent dumps (-lt or -t, with an optional -lp block). Several files follow\n"
           "one another in one trace, a second apart.\n"
           "\n"
           "options:\n"
           "  --format csv|evemu|getevent  the files' format (default: from the content)\n"
           "  --time s|ms|us|ns       CSV time unit (default: header suffix or stamp spacing)\n"
           "  --units g|ms2           CSV acceleration unit (default: header or magnitude)\n"
           "  --interval-ms N         sensor delivery interval (default 100)\n"
           "  --display WxH           display size in pixels (default 1344x2772)\n"
           "  --rotate 0|90|180|270   turn the panel clockwise onto the display (90: its\n"
           "                          left edge to the top); a landscape panel on a\n"
           "                          portrait display is warned about, with the turn\n"
           "  --enable T[,T...]       motion types enabled at the start, by number or name\n"
           "                          (default: every device motion for sensor logs, every\n"
           "                          gesture for touch recordings)\n"
           "  --axes XMAX,YMAX        touch axis maxima, used instead of the recording's\n"
           "                          ranges; needed when it gives none (getevent without -p)\n"
           "  --guess-axes            without ranges, take the largest values seen (a touch\n"
           "                          there lands on the display's last pixel)\n"
           "  --help                  show this help\n"
           "  --version               show the version\n"
           "\n"
           "exit status: 0 when the trace was written, 2 for a usage error or a file it\n"
           "cannot read (nothing is written), 1 for any other failure.\n";
}

namespace {

using Tools::ParseChoice;
using Tools::Quote;

bool ParseFormat(const std::string& value, Format& format, std::string& problem)
{
    static const Format kFormats[] = {Format::CSV, Format::EVEMU, Format::GETEVENT};
    size_t index = 0;
    return ParseChoice(value, {"csv", "evemu", "getevent"}, index, problem, "") &&
           (format = kFormats[index], true);
}

bool ParseTimeUnit(const std::string& value, std::optional<TimeUnit>& unit, std::string& problem)
{
    static const TimeUnit kUnits[] = {TimeUnit::S, TimeUnit::MS, TimeUnit::US, TimeUnit::NS};
    size_t index = 0;
    return ParseChoice(value, {"s", "ms", "us", "ns"}, index, problem, "") &&
           (unit = kUnits[index], true);
}

bool ParseAccUnit(const std::string& value, std::optional<AccUnit>& unit, std::string& problem)
{
    size_t index = 0;
    return ParseChoice(value, {"g", "ms2"}, index, problem, "") &&
           (unit = index == 0 ? AccUnit::G : AccUnit::MS2, true);
}

bool ParseRotation(const std::string& value, int& degrees, std::string& problem)
{
    size_t index = 0;
    return ParseChoice(value, {"0", "90", "180", "270"}, index, problem, "") &&
           (degrees = static_cast<int>(index) * 90, true);
}

bool ParseAxes(const std::string& value, std::optional<std::pair<int32_t, int32_t>>& axes,
               std::string& problem)
{
    const size_t comma = value.find(',');
    long long x = 0;
    long long y = 0;
    std::string ignored;
    if (comma == std::string::npos ||
        !Tools::ParseInteger(value.substr(0, comma), 1, INT32_MAX, x, ignored, "maximum") ||
        !Tools::ParseInteger(value.substr(comma + 1), 1, INT32_MAX, y, ignored, "maximum")) {
        problem = "maxima " + Quote(value) + " are not XMAX,YMAX (positive)";
        return false;
    }
    axes = std::make_pair(static_cast<int32_t>(x), static_cast<int32_t>(y));
    return true;
}

bool ParseEnable(const std::string& value, std::optional<std::vector<int32_t>>& enable,
                 std::string& problem)
{
    std::vector<int32_t> types;
    return Tools::ParseMotionTypes(value, types, problem) && (enable = std::move(types), true);
}

}  // namespace

bool ImportOptions::Parse(const std::vector<std::string>& args, ImportOptions& options,
                          std::string& error)
{
    using Setter = Tools::OptionParser::Setter;
    const auto set = [](auto parse, auto& target) -> Setter {
        return [parse, &target](const std::string& value, std::string& problem) {
            return parse(value, target, problem);
        };
    };
    Tools::OptionParser parser;
    parser.Value("--format", "a format", set(ParseFormat, options.format));
    parser.Value("--time", "a time unit", set(ParseTimeUnit, options.time));
    parser.Value("--units", "a unit", set(ParseAccUnit, options.units));
    parser.Value(
        "--interval-ms", "an interval", [&options](const std::string& value, std::string& problem) {
            return Tools::ParseNumber(value, 1, 60000, options.intervalMs, problem, "interval");
        });
    parser.DisplaySize("--display", options.width, options.height);
    parser.Value("--rotate", "an angle", set(ParseRotation, options.rotate));
    parser.Value("--enable", "motion types", set(ParseEnable, options.enable));
    parser.Value("--axes", "XMAX,YMAX", set(ParseAxes, options.axes));
    parser.Flag("--guess-axes", options.guessAxes);
    if (!parser.Parse(args, error)) {
        return false;
    }
    options.help = parser.Help();
    options.version = parser.Version();
    options.files = parser.Operands();
    if (options.files.empty() && !options.help && !options.version) {
        error = "no recording given";
        return false;
    }
    return true;
}

std::string ImportOptions::Describe() const
{
    std::string text;
    if (format != Format::AUTO) {
        text += std::string(" --format ") + (format == Format::CSV     ? "csv"
                                             : format == Format::EVEMU ? "evemu"
                                                                       : "getevent");
    }
    if (time) {
        text += std::string(" --time ") + TimeUnitName(*time);
    }
    if (units) {
        text += std::string(" --units ") + (*units == AccUnit::G ? "g" : "ms2");
    }
    text += " --interval-ms " + Tools::TraceWriter::FormatStamp(intervalMs);
    text += " --display " + std::to_string(width) + "x" + std::to_string(height);
    if (rotate != 0) {
        text += " --rotate " + std::to_string(rotate);
    }
    if (enable) {
        text += " --enable ";
        for (size_t i = 0; i < enable->size(); ++i) {
            text += (i == 0 ? "" : ",") + std::to_string((*enable)[i]);
        }
    }
    if (axes) {
        text += " --axes " + std::to_string(axes->first) + "," + std::to_string(axes->second);
    }
    if (guessAxes) {
        text += " --guess-axes";
    }
    return text.empty() ? text : text.substr(1);
}

}  // namespace Tarvo::Import
