// Command lines in one style for every program: flags (--json), options with a value
// (--log LEVEL or --log=LEVEL), an optional value (--realtime or --realtime=SPEED),
// --help, --version and operands; every mistake told in the same words:
// "unknown option '--x'", "--log needs a level", "--log level 'x' is not one of ...".
// The values every program reads alike (log levels, display sizes, motion type lists,
// numbers in a range) are read by the functions below; each problem they name starts
// with what the value is ("level 'x' ...") and follows the option's name.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Tarvo::Tools {

class OptionParser {
public:
    // Turns an option's value into the program's setting; false with `problem` set
    // ("level 'x' is not one of debug, ...").
    using Setter = std::function<bool(const std::string& value, std::string& problem)>;

    void Flag(const std::string& name, bool& target);
    // `what` names the value when it is missing: "--log needs a level".
    void Value(const std::string& name, const std::string& what, Setter set);
    // A path, which may not be empty: "--record needs a path", "path '' is empty".
    void Path(const std::string& name, std::string& target);
    // The value may be left out, and is then nullopt; it is only given with "=".
    void OptionalValue(
        const std::string& name,
        std::function<bool(const std::optional<std::string>& value, std::string& problem)> set);
    // The values several programs take alike, read by the functions below.
    void LogLevel(const std::string& name, int& level);
    void DisplaySize(const std::string& name, int32_t& width, int32_t& height);

    // False with `error` set. Operands are what is not an option: "-"
    // and anything not starting with "-"; "--" makes the rest operands.
    bool Parse(const std::vector<std::string>& args, std::string& error);
    // For programs that take no operands: one left over is "unexpected argument 'x'".
    bool ParseWithoutOperands(const std::vector<std::string>& args, std::string& error);

    bool Help() const { return help_; }
    bool Version() const { return version_; }
    const std::vector<std::string>& Operands() const { return operands_; }

private:
    struct Option {
        std::string name;
        std::string what;  // what the value is, for "needs"
        bool optionalValue = false;
        Setter set;
        std::function<bool(const std::optional<std::string>&, std::string&)> setOptional;
        bool* flag = nullptr;
    };
    const Option* Find(const std::string& name) const;

    std::vector<Option> options_;
    bool help_ = false;
    bool version_ = false;
    std::vector<std::string> operands_;
};

// What a program does with its command line before its own work: for a mistake
// (`parsed` false) the message and "(try --help)" on standard error, for --help the
// usage on standard output, for --version its name and version. The exit status to
// end with, or nullopt to go on.
std::optional<int> AnswerCommandLine(const char* program, bool parsed, const std::string& error,
                                     bool help, bool version, const char* usage);

// Platform log levels by name: debug 3, info 4, warn 5, error 6, fatal 7, off 8.
bool ParseLogLevel(const std::string& text, int& level, std::string& problem);
// "WIDTHxHEIGHT" in pixels, each 1 to 1048576.
bool ParseDisplaySize(const std::string& text, int32_t& width, int32_t& height,
                      std::string& problem);
// Supported motion types by number or name ("3,pinch,9"), each once, in the order given.
bool ParseMotionTypes(const std::string& text, std::vector<int32_t>& types, std::string& problem);
// A whole decimal number from `min` to `max`; `noun` says what it is in the problem.
bool ParseInteger(const std::string& text, long long min, long long max, long long& value,
                  std::string& problem, const char* noun);
// A finite decimal number from `min` to `max`; `noun` says what it is in the problem.
bool ParseNumber(const std::string& text, double min, double max, double& value,
                 std::string& problem, const char* noun);

// One of `choices`; `index` is its place among them. `noun` may be empty when the
// option's name says it all.
bool ParseChoice(const std::string& text, const std::vector<std::string>& choices, size_t& index,
                 std::string& problem, const char* noun);

// The name of a motion type ("flip"), or its number when it has none.
std::string MotionTypeName(int32_t type);

}  // namespace Tarvo::Tools
