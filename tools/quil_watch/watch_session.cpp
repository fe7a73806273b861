#include "watch_session.h"

#include <chrono>
#include <cstdio>
#include <memory>

#include "bus_loop.h"
#include "command_runner.h"
#include "exit_codes.h"
#include "motion_type.h"
#include "motion_watcher.h"
#include "output_writer.h"

namespace Tarvo::Watch {

int WatchSession::Run(Tools::StopSignals& stop)
{
    const char* busName = options_.session ? "session bus" : "system bus";
    std::unique_ptr<sdbus::IConnection> bus;
    try {
        bus = options_.session ? sdbus::createSessionBusConnection()
                               : sdbus::createSystemBusConnection();
    } catch (const sdbus::Error& failure) {
        std::fprintf(stderr, "quil-watch: cannot connect to the %s: %s\n", busName,
                     failure.getMessage().c_str());
        return Tools::kExitFailure;
    }

    Tools::OutputWriter writer(stdout, options_.json);
    const CommandRunner runner(options_.command);
    const auto start = std::chrono::steady_clock::now();
    auto handler = [&](const Quil::MotionData& data) {
        if (options_.mode == WatchOptions::Mode::MONITOR) {
            const std::chrono::duration<double, std::milli> since =
                std::chrono::steady_clock::now() - start;
            writer.Report(data, since.count());
            writer.Flush();
            return;
        }
        if (data.type != options_.types.front() ||
            (options_.result.has_value() && data.result != *options_.result)) {
            return;
        }
        std::string error;
        const int status = runner.Run(data, error);
        if (status < 0) {
            std::fprintf(stderr, "quil-watch: %s\n", error.c_str());
        } else if (status != 0) {
            std::fprintf(stderr, "quil-watch: %s exited with status %d\n",
                         options_.command.front().c_str(), status);
        }
    };

    MotionWatcher watcher(*bus, handler);
    std::vector<int32_t> types = options_.types;
    std::string error;
    if (types.empty() && !watcher.AvailableTypes(types, error)) {
        std::fprintf(stderr, "quil-watch: cannot ask the service on the %s: %s\n", busName,
                     error.c_str());
        return Tools::kExitFailure;
    }
    std::vector<std::string> problems;
    const bool claimed = watcher.Claim(types, problems);
    for (const std::string& problem : problems) {
        std::fprintf(stderr, "quil-watch: %s\n", problem.c_str());
    }
    if (!claimed) {
        std::fprintf(stderr, "quil-watch: nothing claimed\n");
        return Tools::kExitFailure;
    }
    stop.Arm();
    Tools::Bus::BusLoop loop(*bus);
    loop.Watch(stop.Fd(), [&loop] { loop.Stop(); });
    if (!loop.Run(error)) {
        std::fprintf(stderr, "quil-watch: lost the %s: %s\n", busName, error.c_str());
        return Tools::kExitFailure;
    }
    watcher.ReleaseAll();
    return Tools::kExitOk;
}

}  // namespace Tarvo::Watch
