#include "import_options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "display_mapper.h"
#include "trace_writer.h"

namespace Tarvo::Import {
namespace {

bool ParseInt(const std::string& text, int32_t& value)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    const long long parsed = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || end != text.c_str() + text.size() ||
        parsed < std::numeric_limits<int32_t>::min() ||
        parsed > std::numeric_limits<int32_t>::max()) {
        return false;
    }
    value = static_cast<int32_t>(parsed);
    return true;
}

// "AxB" split at `separator` into two positive integers.
bool ParsePair(const std::string& text, char separator, int32_t& a, int32_t& b)
{
    const size_t at = text.find(separator);
    return at != std::string::npos && ParseInt(text.substr(0, at), a) &&
           ParseInt(text.substr(at + 1), b) && a > 0 && b > 0;
}

}  // namespace

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
           "  --time s|ms|us|ns     CSV time unit (default: header suffix or stamp spacing)\n"
           "  --units g|ms2         CSV acceleration unit (default: header or magnitude)\n"
           "  --interval-ms N       sensor delivery interval (default 100)\n"
           "  --display WxH         display size in pixels (default 1344x2772)\n"
           "  --rotate 90|180|270   turn a landscape panel onto the portrait display\n"
           "  --enable T[,T...]     motion types enabled at the start (default: every\n"
           "                        device motion for sensor logs, every gesture for touch)\n"
           "  --axes XMAX,YMAX      touch axis maxima when the recording does not give them\n"
           "                        (default: the largest values seen, with a warning)\n"
           "  --help                show this help\n"
           "  --version             show the version\n"
           "\n"
           "exit status: 0 when the trace was written, 2 for a usage error or a file it\n"
           "cannot read (nothing is written), 1 for any other failure.\n";
}

bool ImportOptions::Parse(const std::vector<std::string>& args, ImportOptions& options,
                          std::string& error)
{
    for (size_t i = 0; i < args.size(); ++i) {
        std::string arg = args[i];
        std::string value;
        const bool takesValue = arg == "--format" || arg == "--time" || arg == "--units" ||
                                arg == "--interval-ms" || arg == "--display" || arg == "--rotate" ||
                                arg == "--enable" || arg == "--axes";
        const size_t equals = arg.find('=');
        if (arg.rfind("--", 0) == 0 && equals != std::string::npos) {
            value = arg.substr(equals + 1);
            arg = arg.substr(0, equals);
        } else if (takesValue) {
            if (++i == args.size()) {
                error = arg + " needs a value";
                return false;
            }
            value = args[i];
        }
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--version") {
            options.version = true;
        } else if (arg == "--format") {
            if (value == "csv" || value == "evemu" || value == "getevent") {
                options.format = value == "csv"     ? Format::CSV
                                 : value == "evemu" ? Format::EVEMU
                                                    : Format::GETEVENT;
            } else {
                error = "unknown format '" + value + "' (csv, evemu, getevent)";
                return false;
            }
        } else if (arg == "--time") {
            if (value == "s" || value == "ms" || value == "us" || value == "ns") {
                options.time = value == "s"    ? TimeUnit::S
                               : value == "ms" ? TimeUnit::MS
                               : value == "us" ? TimeUnit::US
                                               : TimeUnit::NS;
            } else {
                error = "unknown time unit '" + value + "' (s, ms, us, ns)";
                return false;
            }
        } else if (arg == "--units") {
            if (value == "g" || value == "ms2") {
                options.units = value == "g" ? AccUnit::G : AccUnit::MS2;
            } else {
                error = "unknown acceleration unit '" + value + "' (g, ms2)";
                return false;
            }
        } else if (arg == "--interval-ms") {
            char* end = nullptr;
            options.intervalMs = std::strtod(value.c_str(), &end);
            if (value.empty() || *end != '\0' || !std::isfinite(options.intervalMs) ||
                options.intervalMs < 1.0 || options.intervalMs > 60000.0) {
                error = "--interval-ms needs a number from 1 to 60000, got '" + value + "'";
                return false;
            }
        } else if (arg == "--display") {
            if (!ParsePair(value, 'x', options.width, options.height)) {
                error = "--display needs WIDTHxHEIGHT in pixels, got '" + value + "'";
                return false;
            }
        } else if (arg == "--rotate") {
            int32_t rotate = 0;
            if (!ParseInt(value, rotate) || !Input::DisplayMapper::IsValidRotation(rotate)) {
                error = "--rotate needs 0, 90, 180 or 270, got '" + value + "'";
                return false;
            }
            options.rotate = rotate;
        } else if (arg == "--enable") {
            std::vector<int32_t> types;
            size_t start = 0;
            while (true) {
                const size_t comma = value.find(',', start);
                int32_t type = 0;
                if (!ParseInt(
                        value.substr(start, comma == std::string::npos ? comma : comma - start),
                        type)) {
                    error = "--enable needs motion types like 0,3,9, got '" + value + "'";
                    return false;
                }
                types.push_back(type);
                if (comma == std::string::npos) {
                    break;
                }
                start = comma + 1;
            }
            options.enable = types;
        } else if (arg == "--axes") {
            int32_t x = 0;
            int32_t y = 0;
            if (!ParsePair(value, ',', x, y)) {
                error = "--axes needs XMAX,YMAX (positive), got '" + value + "'";
                return false;
            }
            options.axes = std::make_pair(x, y);
        } else if (arg.size() > 1 && arg[0] == '-') {
            error = "unknown option '" + arg + "'";
            return false;
        } else {
            options.files.push_back(arg);
        }
    }
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
    return text.empty() ? text : text.substr(1);
}

}  // namespace Tarvo::Import
