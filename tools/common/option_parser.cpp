#include "option_parser.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "exit_codes.h"
#include "line_error.h"
#include "motion_type.h"

namespace Tarvo::Tools {

void OptionParser::Flag(const std::string& name, bool& target)
{
    Option option;
    option.name = name;
    option.flag = &target;
    options_.push_back(std::move(option));
}

void OptionParser::Value(const std::string& name, const std::string& what, Setter set)
{
    Option option;
    option.name = name;
    option.what = what;
    option.set = std::move(set);
    options_.push_back(std::move(option));
}

void OptionParser::Path(const std::string& name, std::string& target)
{
    Value(name, "a path", [&target](const std::string& value, std::string& problem) {
        if (value.empty()) {
            problem = "path '' is empty";
            return false;
        }
        target = value;
        return true;
    });
}

void OptionParser::OptionalValue(
    const std::string& name,
    std::function<bool(const std::optional<std::string>&, std::string&)> set)
{
    Option option;
    option.name = name;
    option.optionalValue = true;
    option.setOptional = std::move(set);
    options_.push_back(std::move(option));
}

void OptionParser::LogLevel(const std::string& name, int& level)
{
    Value(name, "a level", [&level](const std::string& value, std::string& problem) {
        return ParseLogLevel(value, level, problem);
    });
}

void OptionParser::DisplaySize(const std::string& name, int32_t& width, int32_t& height)
{
    Value(name, "a size", [&width, &height](const std::string& value, std::string& problem) {
        return ParseDisplaySize(value, width, height, problem);
    });
}

bool OptionParser::ParseWithoutOperands(const std::vector<std::string>& args, std::string& error)
{
    if (!Parse(args, error)) {
        return false;
    }
    if (!operands_.empty()) {
        error = "unexpected argument " + Quote(operands_.front());
        return false;
    }
    return true;
}

const OptionParser::Option* OptionParser::Find(const std::string& name) const
{
    for (const Option& option : options_) {
        if (option.name == name) {
            return &option;
        }
    }
    return nullptr;
}

bool OptionParser::Parse(const std::vector<std::string>& args, std::string& error)
{
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "--") {
            operands_.insert(operands_.end(), args.begin() + static_cast<long>(i) + 1, args.end());
            break;
        }
        if (arg == "-" || arg.empty() || arg[0] != '-') {
            operands_.push_back(arg);
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            help_ = true;
            continue;
        }
        if (arg == "--version") {
            version_ = true;
            continue;
        }
        const size_t equals = arg.find('=');
        const std::string name = arg.substr(0, equals);
        const Option* option = Find(name);
        if (option == nullptr) {
            error = "unknown option " + Quote(name);
            return false;
        }
        std::string problem;
        bool ok = true;
        if (option->flag != nullptr) {
            if (equals != std::string::npos) {
                error = name + " takes no value";
                return false;
            }
            *option->flag = true;
        } else if (option->optionalValue) {
            ok = option->setOptional(equals == std::string::npos
                                         ? std::nullopt
                                         : std::optional<std::string>(arg.substr(equals + 1)),
                                     problem);
        } else {
            std::string value;
            if (equals != std::string::npos) {
                value = arg.substr(equals + 1);
            } else if (i + 1 < args.size()) {
                value = args[++i];
            } else {
                error = name + " needs " + option->what;
                return false;
            }
            ok = option->set(value, problem);
        }
        if (!ok) {
            error = name + " " + problem;
            return false;
        }
    }
    return true;
}

std::optional<int> AnswerCommandLine(const char* program, bool parsed, const std::string& error,
                                     bool help, bool version, const char* usage)
{
    if (!parsed) {
        std::fprintf(stderr, "%s: %s\n(try --help)\n", program, error.c_str());
        return kExitUsage;
    }
    if (help) {
        std::fputs(usage, stdout);
        return kExitOk;
    }
    if (version) {
        std::printf("%s %s\n", program, QUIL_VERSION);
        return kExitOk;
    }
    return std::nullopt;
}

bool ParseChoice(const std::string& text, const std::vector<std::string>& choices, size_t& index,
                 std::string& problem, const char* noun)
{
    const auto found = std::find(choices.begin(), choices.end(), text);
    if (found != choices.end()) {
        index = static_cast<size_t>(found - choices.begin());
        return true;
    }
    std::string known;
    for (const std::string& choice : choices) {
        known += (known.empty() ? "" : ", ") + choice;
    }
    problem =
        (*noun != '\0' ? std::string(noun) + " " : "") + Quote(text) + " is not one of " + known;
    return false;
}

bool ParseLogLevel(const std::string& text, int& level, std::string& problem)
{
    constexpr int kDebug = 3;  // the platform log's levels run from debug 3 to off 8
    size_t index = 0;
    if (!ParseChoice(text, {"debug", "info", "warn", "error", "fatal", "off"}, index, problem,
                     "level")) {
        return false;
    }
    level = kDebug + static_cast<int>(index);
    return true;
}

namespace {

std::string Plain(double value)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.15g", value);
    return text;
}

// "speed '1e-300' is out of range (0.001 to 1000000)", or "speed 'x' is not a number".
bool OutOfRange(const char* noun, const std::string& text, bool isNumber, const std::string& min,
                const std::string& max, std::string& problem)
{
    problem = std::string(noun) + " " + Quote(text) +
              (isNumber ? " is out of range (" + min + " to " + max + ")" : " is not a number");
    return false;
}

}  // namespace

bool ParseInteger(const std::string& text, long long min, long long max, long long& value,
                  std::string& problem, const char* noun)
{
    char* end = nullptr;
    errno = 0;
    const long long parsed = text.empty() ? 0 : std::strtoll(text.c_str(), &end, 10);
    const bool isNumber = !text.empty() && *end == '\0';
    if (!isNumber || errno == ERANGE || parsed < min || parsed > max) {
        return OutOfRange(noun, text, isNumber, std::to_string(min), std::to_string(max), problem);
    }
    value = parsed;
    return true;
}

bool ParseNumber(const std::string& text, double min, double max, double& value,
                 std::string& problem, const char* noun)
{
    char* end = nullptr;
    const double parsed = text.empty() ? 0.0 : std::strtod(text.c_str(), &end);
    const bool isNumber = !text.empty() && *end == '\0';
    if (!isNumber || !std::isfinite(parsed) || parsed < min || parsed > max) {
        return OutOfRange(noun, text, isNumber, Plain(min), Plain(max), problem);
    }
    value = parsed;
    return true;
}

bool ParseDisplaySize(const std::string& text, int32_t& width, int32_t& height,
                      std::string& problem)
{
    constexpr long long kMaxPixels = 1 << 20;
    const size_t x = text.find('x');
    long long w = 0;
    long long h = 0;
    std::string ignored;
    if (x == std::string::npos ||
        !ParseInteger(text.substr(0, x), 1, kMaxPixels, w, ignored, "width") ||
        !ParseInteger(text.substr(x + 1), 1, kMaxPixels, h, ignored, "height")) {
        problem = "size " + Quote(text) + " is not WIDTHxHEIGHT in pixels, like 1344x2772";
        return false;
    }
    width = static_cast<int32_t>(w);
    height = static_cast<int32_t>(h);
    return true;
}

std::string MotionTypeName(int32_t type)
{
    for (const Quil::MotionTypeName& entry : Quil::kMotionTypeNames) {
        if (entry.type == type) {
            return entry.name;
        }
    }
    return std::to_string(type);
}

bool ParseMotionTypes(const std::string& text, std::vector<int32_t>& types, std::string& problem)
{
    std::vector<int32_t> parsed;
    size_t start = 0;
    for (;;) {
        const size_t comma = text.find(',', start);
        const std::string item =
            text.substr(start, comma == std::string::npos ? comma : comma - start);
        std::optional<int32_t> type;
        for (const Quil::MotionTypeName& entry : Quil::kMotionTypeNames) {
            if (item == entry.name || item == std::to_string(entry.type)) {
                type = entry.type;
            }
        }
        if (!type.has_value()) {
            std::string known;
            for (const Quil::MotionTypeName& entry : Quil::kMotionTypeNames) {
                known +=
                    (known.empty() ? "" : ", ") + std::to_string(entry.type) + " " + entry.name;
            }
            problem = "type " + Quote(item) + " is not a motion type: " + known;
            return false;
        }
        if (std::find(parsed.begin(), parsed.end(), *type) == parsed.end()) {
            parsed.push_back(*type);
        }
        if (comma == std::string::npos) {
            break;
        }
        start = comma + 1;
    }
    types = std::move(parsed);
    return true;
}

}  // namespace Tarvo::Tools
