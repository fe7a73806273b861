// quil-live: runs the Quil Motion plug-in on a Linux device's own sensors and
// touchscreen and prints what it recognises, as quil-replay prints a trace.
#include <cstdio>
#include <string>
#include <vector>

#include "exit_codes.h"
#include "live_options.h"
#include "live_session.h"
#include "option_parser.h"
#include "stop_signals.h"

int main(int argc, char** argv)
{
    using namespace Tarvo::Tools;
    // First: a stop asked for while the device is still being looked at ends the run.
    StopSignals& stop = StopSignals::Install();
    // A pipe sees every report at once.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    Tarvo::Live::LiveOptions options;
    std::string error;
    const bool parsed = Tarvo::Live::LiveOptions::Parse(
        std::vector<std::string>(argv + 1, argv + argc), options, error);
    if (auto done = AnswerCommandLine("quil-live", parsed, error, options.help, options.version,
                                      Tarvo::Live::LiveOptions::Usage())) {
        return *done;
    }

    Tarvo::Live::LiveSession session(options);
    if (!session.Prepare(error)) {
        std::fprintf(stderr, "quil-live: %s\n", error.c_str());
        return kExitFailure;
    }
    // From here on there is something to undo: a stop disables and destroys first.
    stop.Arm();
    const bool started = session.Start(error);
    if (started) {
        stop.Wait(options.duration);
    } else {
        std::fprintf(stderr, "quil-live: %s\n", error.c_str());
    }
    if (!session.Stop()) {
        std::fprintf(stderr, "quil-live: writing %s failed\n", options.record.c_str());
        return kExitFailure;
    }
    return started ? kExitOk : kExitFailure;
}
