// quil-watch: claims motions from quil-motiond and prints them, or runs a command on each.
#include <cstdio>
#include <string>
#include <vector>

#include "option_parser.h"
#include "stop_signals.h"
#include "watch_options.h"
#include "watch_session.h"

int main(int argc, char** argv)
{
    using namespace Tarvo::Tools;
    StopSignals& stop = StopSignals::Install();
    // A pipe sees every motion at once.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);

    Tarvo::Watch::WatchOptions options;
    std::string error;
    const bool parsed = Tarvo::Watch::WatchOptions::Parse(
        std::vector<std::string>(argv + 1, argv + argc), options, error);
    if (auto done = AnswerCommandLine("quil-watch", parsed, error, options.help, options.version,
                                      Tarvo::Watch::WatchOptions::Usage())) {
        return *done;
    }
    return Tarvo::Watch::WatchSession(options).Run(stop);
}
