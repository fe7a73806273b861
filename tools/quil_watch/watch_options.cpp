#include "watch_options.h"

#include <algorithm>
#include <cstdint>

#include "line_error.h"
#include "option_parser.h"

namespace Tarvo::Watch {
namespace {

// TYPE[:RESULT], the type by number or name.
bool ParseFilter(const std::string& text, WatchOptions& options, std::string& error)
{
    const size_t colon = text.find(':');
    std::string problem;
    std::vector<int32_t> types;
    if (!Tools::ParseMotionTypes(text.substr(0, colon), types, problem) || types.size() != 1) {
        error = problem.empty() ? "'on' takes one motion type, not " + Tools::Quote(text)
                                : "'on' " + problem;
        return false;
    }
    options.types = types;
    if (colon != std::string::npos) {
        long long result = 0;
        if (!Tools::ParseInteger(text.substr(colon + 1), INT32_MIN, INT32_MAX, result, problem,
                                 "result")) {
            error = "'on' " + problem;
            return false;
        }
        options.result = static_cast<int32_t>(result);
    }
    return true;
}

}  // namespace

bool WatchOptions::Parse(const std::vector<std::string>& args, WatchOptions& options,
                         std::string& error)
{
    // What follows the first "--" is the command, options and all.
    const auto dashes = std::find(args.begin(), args.end(), "--");
    const std::vector<std::string> ours(args.begin(), dashes);
    if (dashes != args.end()) {
        options.command.assign(dashes + 1, args.end());
    }
    Tools::OptionParser parser;
    parser.Flag("--session", options.session);
    parser.Flag("--json", options.json);
    if (!parser.Parse(ours, error)) {
        return false;
    }
    options.help = parser.Help();
    options.version = parser.Version();
    if (options.help || options.version) {
        return true;
    }
    const std::vector<std::string>& operands = parser.Operands();
    if (operands.empty()) {
        error = "say what to do: monitor or on";
        return false;
    }
    if (operands[0] == "monitor") {
        options.mode = Mode::MONITOR;
        if (dashes != args.end()) {
            error = "monitor runs no command";
            return false;
        }
        if (operands.size() > 2) {
            error = "unexpected argument " + Tools::Quote(operands[2]);
            return false;
        }
        std::string problem;
        if (operands.size() == 2 && !Tools::ParseMotionTypes(operands[1], options.types, problem)) {
            error = "monitor " + problem;
            return false;
        }
        return true;
    }
    if (operands[0] == "on") {
        options.mode = Mode::ON;
        if (operands.size() != 2) {
            error = operands.size() < 2 ? "'on' needs a motion type, as in on flip:1 -- COMMAND"
                                        : "unexpected argument " + Tools::Quote(operands[2]) +
                                              " (the command goes after --)";
            return false;
        }
        if (options.json) {
            error = "--json is for monitor";
            return false;
        }
        if (options.command.empty()) {
            error = "'on' needs a command after --";
            return false;
        }
        return ParseFilter(operands[1], options, error);
    }
    error = "unknown command " + Tools::Quote(operands[0]) + " (monitor or on)";
    return false;
}

const char* WatchOptions::Usage()
{
    return "usage: quil-watch [--session] monitor [--json] [TYPES]\n"
           "       quil-watch [--session] on TYPE[:RESULT] -- COMMAND [ARG...]\n"
           "Claims motion types from quil-motiond and prints every motion it sends (monitor),\n"
           "or runs COMMAND for each motion of TYPE, with RESULT when given (on). Types go\n"
           "by number or name: pickup 0, near-ear 2, flip 3, rotate 4, shake 6, pocket 7,\n"
           "swipe-left 9, swipe-right 10, swipe-up 11, pinch 12, slide 13. COMMAND finds\n"
           "the motion in QUIL_TYPE, QUIL_RESULT, QUIL_STATUS, QUIL_ACTION, QUIL_DIRECTION,\n"
           "QUIL_ROTATE_ACTION and QUIL_MOVE; commands run one at a time. Stop it with\n"
           "Ctrl-C.\n"
           "\n"
           "  monitor [TYPES]   e.g. 3,rotate,9 (default: every type available now)\n"
           "  on TYPE[:RESULT]  e.g. flip:1, the device turned face down\n"
           "  --json            monitor prints JSON Lines, as quil-replay --json\n"
           "  --session         the session bus (default: the system bus)\n"
           "  --help, --version\n";
}

}  // namespace Tarvo::Watch
