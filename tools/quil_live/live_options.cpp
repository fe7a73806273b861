#include "live_options.h"

#include "line_error.h"
#include "option_parser.h"

namespace Tarvo::Live {

bool LiveOptions::Parse(const std::vector<std::string>& args, LiveOptions& options,
                        std::string& error)
{
    using namespace Tools;
    OptionParser parser;
    parser.Flag("--json", options.json);
    parser.Flag("--syslog", options.syslog);
    parser.Value("--enable", "motion types",
                 [&options](const std::string& value, std::string& problem) {
                     return ParseMotionTypes(value, options.enable, problem);
                 });
    parser.Path("--record", options.record);
    parser.Path("--sysfs-root", options.sysfsRoot);
    parser.Path("--touch-device", options.touchDevice);
    parser.Path("--plugin", options.plugin);
    parser.DisplaySize("--display", options.displayWidth, options.displayHeight);
    parser.LogLevel("--log", options.logLevel);
    parser.Value("--duration", "a number of seconds",
                 [&options](const std::string& value, std::string& problem) {
                     constexpr double kYear = 365.0 * 24 * 3600;
                     return ParseNumber(value, 0.001, kYear, options.duration, problem, "duration");
                 });
    if (!parser.ParseWithoutOperands(args, error)) {
        return false;
    }
    options.help = parser.Help();
    options.version = parser.Version();
    return true;
}

const char* LiveOptions::Usage()
{
    return "usage: quil-live [options]\n"
           "Runs the motion plug-in on this device's sensors and touchscreen and prints\n"
           "every report as quil-replay does. Stop it with Ctrl-C.\n"
           "\n"
           "  --enable T[,T...]    motion types to enable, by number or name, e.g. 3,rotate,9\n"
           "                       (default: every type the device has the sensors or\n"
           "                       touchscreen for)\n"
           "  --json               print JSON Lines instead of text\n"
           "  --record FILE        also write what the plug-in received as a trace\n"
           "  --sysfs-root DIR     read the sensors from this copy of a device's sysfs\n"
           "                       (default: /sys, the devices udev knows)\n"
           "  --touch-device PATH  the touchscreen's event node (default: the first\n"
           "                       touchscreen udev knows)\n"
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
