#include "live_options.h"

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace Tarvo::Live {
namespace {

bool ParseInt(const std::string& text, long min, long max, long& value)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    value = std::strtol(text.c_str(), &end, 10);
    return errno == 0 && *end == '\0' && value >= min && value <= max;
}

bool ParseTypes(const std::string& text, std::vector<int32_t>& types)
{
    std::istringstream in(text);
    std::string item;
    while (std::getline(in, item, ',')) {
        long value = 0;
        if (!ParseInt(item, INT32_MIN, INT32_MAX, value)) {
            return false;
        }
        types.push_back(static_cast<int32_t>(value));
    }
    return !types.empty() && text.back() != ',';
}

bool ParseDisplay(const std::string& text, int32_t& width, int32_t& height)
{
    const size_t x = text.find('x');
    long w = 0;
    long h = 0;
    if (x == std::string::npos || !ParseInt(text.substr(0, x), 1, 1 << 20, w) ||
        !ParseInt(text.substr(x + 1), 1, 1 << 20, h)) {
        return false;
    }
    width = static_cast<int32_t>(w);
    height = static_cast<int32_t>(h);
    return true;
}

bool ParseLevel(const std::string& text, int& level)
{
    static const char* const kNames[] = {"debug", "info", "warn", "error", "fatal", "off"};
    for (int i = 0; i < 6; ++i) {
        if (text == kNames[i]) {
            level = i + 3;
            return true;
        }
    }
    return false;
}

}  // namespace

bool LiveOptions::Parse(const std::vector<std::string>& args, LiveOptions& options,
                        std::string& error)
{
    for (size_t i = 0; i < args.size(); ++i) {
        std::string arg = args[i];
        std::string value;
        bool inlineValue = false;
        const size_t equals = arg.find('=');
        if (arg.rfind("--", 0) == 0 && equals != std::string::npos) {
            value = arg.substr(equals + 1);
            arg = arg.substr(0, equals);
            inlineValue = true;
        }
        const auto takeValue = [&]() {
            if (inlineValue) {
                return true;
            }
            if (i + 1 >= args.size()) {
                error = arg + " needs a value";
                return false;
            }
            value = args[++i];
            return true;
        };
        const auto bad = [&](const char* what) {
            error = arg + ": " + what + ", got '" + value + "'";
            return false;
        };

        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--version") {
            options.version = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--syslog") {
            options.syslog = true;
        } else if (arg == "--enable") {
            if (!takeValue()) {
                return false;
            }
            options.enable.clear();
            if (!ParseTypes(value, options.enable)) {
                return bad("expected motion types like 3,4,9");
            }
        } else if (arg == "--record" || arg == "--sysfs-root" || arg == "--touch-device" ||
                   arg == "--plugin") {
            if (!takeValue()) {
                return false;
            }
            if (value.empty()) {
                return bad("expected a path");
            }
            (arg == "--record"         ? options.record
             : arg == "--sysfs-root"   ? options.sysfsRoot
             : arg == "--touch-device" ? options.touchDevice
                                       : options.plugin) = value;
        } else if (arg == "--display") {
            if (!takeValue()) {
                return false;
            }
            if (!ParseDisplay(value, options.displayWidth, options.displayHeight)) {
                return bad("expected WIDTHxHEIGHT in pixels, like 1080x2400");
            }
        } else if (arg == "--log") {
            if (!takeValue()) {
                return false;
            }
            if (!ParseLevel(value, options.logLevel)) {
                return bad("expected debug, info, warn, error, fatal or off");
            }
        } else if (arg == "--duration") {
            if (!takeValue()) {
                return false;
            }
            char* end = nullptr;
            options.duration = std::strtod(value.c_str(), &end);
            if (value.empty() || *end != '\0' || !std::isfinite(options.duration) ||
                options.duration <= 0) {
                return bad("expected a positive number of seconds");
            }
        } else {
            error = "unknown argument '" + args[i] + "'";
            return false;
        }
    }
    return true;
}

const char* LiveOptions::Usage()
{
    return "usage: quil-live [options]\n"
           "Runs the motion plug-in on this device's sensors and touchscreen and prints\n"
           "every report as quil-replay does. Stop it with Ctrl-C.\n"
           "\n"
           "  --enable LIST        motion types to enable, e.g. 3,4,9 (default: every type\n"
           "                       the device has the sensors or touchscreen for)\n"
           "  --json               print JSON Lines instead of text\n"
           "  --record FILE        also write what the plug-in received as a trace\n"
           "  --sysfs-root DIR     where sysfs is mounted (default /sys)\n"
           "  --touch-device PATH  the touchscreen's event node (default: search /dev/input)\n"
           "  --display WxH        display size touches are scaled to (default 1344x2772)\n"
           "  --log LEVEL          the library's log to standard error: debug, info, warn,\n"
           "                       error, fatal or off (default); problems with the\n"
           "                       device's sensors or touchscreen are always shown\n"
           "  --syslog             send the platform log to syslog instead\n"
           "  --duration SECONDS   stop by itself after this long\n"
           "  --plugin PATH        the plug-in (default: libquil_motion.so beside quil-live)\n"
           "  --help, --version\n";
}

}  // namespace Tarvo::Live
