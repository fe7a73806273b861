// Command line of quil-watch: `monitor [TYPES]` or `on TYPE[:RESULT] -- COMMAND...`.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tarvo::Watch {

struct WatchOptions {
    enum class Mode { MONITOR, ON };

    Mode mode = Mode::MONITOR;
    bool session = false;
    bool json = false;
    std::vector<int32_t> types;     // monitor: empty means every available type
    std::optional<int32_t> result;  // on: only motions with this result
    std::vector<std::string> command;
    bool help = false;
    bool version = false;

    // False with `error` set on a usage error.
    static bool Parse(const std::vector<std::string>& args, WatchOptions& options,
                      std::string& error);
    static const char* Usage();
};

}  // namespace Tarvo::Watch
