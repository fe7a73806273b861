#include "motiond_options.h"

#include "line_error.h"
#include "option_parser.h"

namespace Tarvo::Motiond {

bool MotiondOptions::Parse(const std::vector<std::string>& args, MotiondOptions& options,
                           std::string& error)
{
    using namespace Tools;
    OptionParser parser;
    parser.Flag("--session", options.session);
    parser.Path("--replay", options.replay);
    parser.Path("--sysfs-root", options.sysfsRoot);
    parser.Path("--touch-device", options.touchDevice);
    parser.Path("--plugin", options.plugin);
    parser.Value("--gesture-group", "a group name",
                 [&options](const std::string& value, std::string& problem) {
                     if (value.empty() || value.find_first_of(": \t\n") != std::string::npos) {
                         problem = "group " + Quote(value) + " is not a group name";
                         return false;
                     }
                     options.gestureGroup = value;
                     return true;
                 });
    parser.DisplaySize("--display", options.displayWidth, options.displayHeight);
    parser.LogLevel("--log", options.logLevel);
    parser.LogLevel("--library-log", options.libraryLogLevel);
    if (!parser.ParseWithoutOperands(args, error)) {
        return false;
    }
    options.help = parser.Help();
    options.version = parser.Version();
    return true;
}

const char* MotiondOptions::Usage()
{
    return "usage: quil-motiond [options]\n"
           "Serves the motions and touch gestures of this device on D-Bus, as\n"
           "org.quilmotion.Motion1: clients claim the types they want and receive a Motion\n"
           "signal for each recognition. Runs until SIGTERM or SIGINT.\n"
           "\n"
           "  --session            serve on the session bus (default: the system bus)\n"
           "  --replay TRACE       no devices: play the samples and touches of a trace\n"
           "                       (quil-replay's format) in real time from the first claim;\n"
           "                       a FIFO or - is played as it is written\n"
           "  --gesture-group NAME touch gestures (types 9 to 13) only for members of this\n"
           "                       group (default quil-gestures)\n"
           "  --sysfs-root DIR     where sysfs is mounted (default /sys)\n"
           "  --touch-device PATH  the touchscreen's event node (default: search /dev/input)\n"
           "  --display WxH        display size touches are scaled to (default 1344x2772)\n"
           "  --log LEVEL          the service's own lines: debug, info (default), warn,\n"
           "                       error, fatal or off\n"
           "  --library-log LEVEL  the library's log, as for --log (default off); problems\n"
           "                       with the device's sensors or touchscreen are always shown\n"
           "  --plugin PATH        the plug-in (default: the one built for the service)\n"
           "  --help, --version\n";
}

}  // namespace Tarvo::Motiond
