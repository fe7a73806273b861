// quil-motiond: serves the Quil Motion plug-in's motions and touch gestures on D-Bus.
#include <string>
#include <vector>

#include "motion_daemon.h"
#include "motiond_options.h"
#include "option_parser.h"
#include "stop_signals.h"

int main(int argc, char** argv)
{
    using namespace Tarvo::Tools;
    // First: a stop asked for while the service starts ends it at once.
    StopSignals& stop = StopSignals::Install();

    Tarvo::Motiond::MotiondOptions options;
    std::string error;
    const bool parsed = Tarvo::Motiond::MotiondOptions::Parse(
        std::vector<std::string>(argv + 1, argv + argc), options, error);
    if (auto done = AnswerCommandLine("quil-motiond", parsed, error, options.help, options.version,
                                      Tarvo::Motiond::MotiondOptions::Usage())) {
        return *done;
    }
    return Tarvo::Motiond::MotionDaemon(options).Run(stop);
}
