#include "trace_parser.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string_view>

#include "input_file.h"
#include "line_error.h"

namespace Tarvo::Tools {
namespace {

// Parses the records of one line; throws nothing, reports through `problem`.
class LineParser {
public:
    // The record's words are tokens[first...].
    // With `checkOnly`, the record is not used: plainly valid numbers are not converted.
    LineParser(const std::vector<std::string_view>& tokens, size_t first, TraceRecord& record,
               bool checkOnly)
        : tokens_(tokens), first_(first), record_(record), checkOnly_(checkOnly)
    {
    }

    bool Parse(std::string& problem);

private:
    using Handler = bool (LineParser::*)(std::string&);

    bool Fail(std::string& problem, const std::string& what)
    {
        problem = what;
        return false;
    }
    std::string Keyword() const { return std::string(tokens_[first_]); }
    size_t ArgCount() const { return tokens_.size() - first_ - 1; }
    std::string_view Arg(size_t i) const { return tokens_[first_ + i]; }
    static std::string Plural(size_t n, const char* noun)
    {
        return std::to_string(n) + " " + noun + (n == 1 ? "" : "s");
    }

    bool Int(std::string_view token, int32_t& out, std::string& problem);
    bool Float(std::string_view token, float& out, std::string& problem);
    bool IdList(std::string_view token, std::vector<int32_t>& out, std::string& problem);
    bool Action(std::string_view token, int32_t& out, std::string& problem);
    bool ExpectArgs(size_t count, const char* what, std::string& problem);

    bool HostCallWithArg(std::string& problem);
    bool HostCall(std::string& problem);
    bool Sample(std::string& problem);
    bool Touch(std::string& problem);
    bool TouchNoItem(std::string& problem);
    bool DeviceSensors(std::string& problem);
    bool Fault(std::string& problem);
    bool IntSetting(std::string& problem);

    const std::vector<std::string_view>& tokens_;
    size_t first_;
    TraceRecord& record_;
    bool checkOnly_;
};

struct KeywordEntry {
    std::string_view word;
    RecordKind kind;
    bool (LineParser::*handler)(std::string&);
};

bool LineParser::Int(std::string_view token, int32_t& out, std::string& problem)
{
    const size_t digits = (token[0] == '+' || token[0] == '-') ? 1 : 0;
    if (digits == token.size() || !std::all_of(token.begin() + digits, token.end(),
                                               [](char c) { return c >= '0' && c <= '9'; })) {
        return Fail(problem, Quote(token) + " is not an integer");
    }
    // from_chars takes a minus but no plus.
    const char* const begin = token.data() + (token[0] == '+' ? 1 : 0);
    long long value = 0;
    const auto [ptr, ec] = std::from_chars(begin, token.data() + token.size(), value);
    (void)ptr;
    if (ec != std::errc{} || value < INT32_MIN || value > INT32_MAX) {
        return Fail(problem, Quote(token) + " does not fit in 32 bits");
    }
    out = static_cast<int32_t>(value);
    return true;
}

// "-12.5", "3": digits with an optional minus and fraction, which from_chars reads
// whole. Everything else takes the full path.
bool IsPlainDecimal(std::string_view token)
{
    auto digitsFrom = [&token](size_t pos) {
        while (pos < token.size() && token[pos] >= '0' && token[pos] <= '9') {
            ++pos;
        }
        return pos;
    };
    const size_t start = !token.empty() && token[0] == '-' ? 1 : 0;
    size_t end = digitsFrom(start);
    if (end == start) {
        return false;
    }
    if (end < token.size() && token[end] == '.') {
        const size_t fraction = end + 1;
        end = digitsFrom(fraction);
        if (end == fraction) {
            return false;
        }
    }
    return end == token.size();
}

bool LineParser::Float(std::string_view token, float& out, std::string& problem)
{
    // Plain decimals take the fast, equally exact path; everything else (signs, hex,
    // out-of-range values, which become ±inf or 0) goes to strtof.
    if (checkOnly_ && IsPlainDecimal(token)) {
        out = 0.0F;  // certainly a number; which one does not matter to a check
        return true;
    }
    const char* const last = token.data() + token.size();
    if (token[0] != '+') {
        const auto [ptr, ec] = std::from_chars(token.data(), last, out);
        if (ec == std::errc{} && ptr == last) {
            return true;
        }
    }
    const std::string text(token);  // strtof needs the terminating nul
    char* end = nullptr;
    out = std::strtof(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0') {
        return Fail(problem, Quote(text) + " is not a number");
    }
    return true;
}

bool LineParser::IdList(std::string_view token, std::vector<int32_t>& out, std::string& problem)
{
    out.clear();
    if (token == "-") {
        return true;
    }
    size_t start = 0;
    for (;;) {
        const size_t comma = token.find(',', start);
        const std::string_view item =
            token.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        int32_t id = 0;
        if (item.empty() || !Int(item, id, problem)) {
            return Fail(problem, Quote(token) + " is not a list of ids (like 0,1,2 or -)");
        }
        out.push_back(id);
        if (comma == std::string::npos) {
            return true;
        }
        start = comma + 1;
    }
}

bool LineParser::Action(std::string_view token, int32_t& out, std::string& problem)
{
    static const std::map<std::string, int32_t, std::less<>> kActions = {
        {"down", 2}, {"move", 3}, {"up", 4}};
    auto named = kActions.find(token);
    if (named != kActions.end()) {
        out = named->second;
        return true;
    }
    if (!Int(token, out, problem)) {
        return Fail(problem,
                    Quote(token) + " is not a pointer action (down, move, up or a number)");
    }
    return true;
}

bool LineParser::ExpectArgs(size_t count, const char* what, std::string& problem)
{
    if (ArgCount() != count) {
        return Fail(problem,
                    Keyword() + " needs " + what + ", got " + Plural(ArgCount(), "argument"));
    }
    return true;
}

bool LineParser::HostCallWithArg(std::string& problem)
{
    return ExpectArgs(1, "a motion type", problem) && Int(Arg(1), record_.value, problem);
}

bool LineParser::HostCall(std::string& problem)
{
    if (ArgCount() != 0) {
        return Fail(problem, Keyword() + " takes no arguments");
    }
    return true;
}

bool LineParser::Sample(std::string& problem)
{
    size_t first = 1;
    size_t needed = 0;
    const std::string_view keyword = tokens_[first_];
    if (keyword == "acc") {
        record_.value = 1;
        needed = 3;
    } else if (keyword == "light") {
        record_.value = 5;
        needed = 1;
    } else if (keyword == "prox") {
        record_.value = 12;
        needed = 1;
    } else {  // sensor ID F...
        if (ArgCount() < 2) {
            return Fail(problem, "sensor needs a sensor type id and at least 1 number");
        }
        if (!Int(Arg(1), record_.value, problem)) {
            return false;
        }
        first = 2;
    }
    if (needed != 0 && ArgCount() != needed) {
        return Fail(problem, Keyword() + " needs " + Plural(needed, "number") + ", got " +
                                 std::to_string(ArgCount()));
    }
    for (size_t i = first; i <= ArgCount(); ++i) {
        float value = 0.0F;
        if (!Float(Arg(i), value, problem)) {
            return false;
        }
        record_.floats.push_back(value);
    }
    return true;
}

bool LineParser::Touch(std::string& problem)
{
    if (ArgCount() != 5) {
        return Fail(problem,
                    "touch needs ACTION ID X Y IDS, got " + Plural(ArgCount(), "argument"));
    }
    return Action(Arg(1), record_.action, problem) && Int(Arg(2), record_.pointerId, problem) &&
           Int(Arg(3), record_.x, problem) && Int(Arg(4), record_.y, problem) &&
           IdList(Arg(5), record_.ids, problem);
}

bool LineParser::TouchNoItem(std::string& problem)
{
    if (ArgCount() != 3) {
        return Fail(problem,
                    "touch-noitem needs ACTION ID IDS, got " + Plural(ArgCount(), "argument"));
    }
    return Action(Arg(1), record_.action, problem) && Int(Arg(2), record_.pointerId, problem) &&
           IdList(Arg(3), record_.ids, problem);
}

bool LineParser::DeviceSensors(std::string& problem)
{
    return ExpectArgs(1, "a list of sensor type ids", problem) &&
           IdList(Arg(1), record_.ids, problem);
}

bool LineParser::Fault(std::string& problem)
{
    if (ArgCount() < 1 || ArgCount() > 2) {
        return Fail(problem, Keyword() + " needs CALL [ID], got " + Plural(ArgCount(), "argument"));
    }
    const auto named = std::find(kServiceCallNames.begin(), kServiceCallNames.end(), Arg(1));
    if (named == kServiceCallNames.end()) {
        return Fail(problem, "unknown sensor service call " + Quote(Arg(1)) +
                                 " (GetAllSensors, SubscribeSensor, SetBatch, ActivateSensor, "
                                 "DeactivateSensor, UnsubscribeSensor)");
    }
    record_.call = static_cast<ServiceCall>(named - kServiceCallNames.begin());
    if (ArgCount() == 2) {
        if (record_.call == ServiceCall::GET_ALL_SENSORS) {
            return Fail(problem, "GetAllSensors takes no sensor id");
        }
        int32_t id = 0;
        if (!Int(Arg(2), id, problem)) {
            return false;
        }
        record_.callSensor = id;
    }
    return true;
}

bool LineParser::IntSetting(std::string& problem)
{
    return ExpectArgs(1, "an integer", problem) && Int(Arg(1), record_.value, problem);
}

bool LineParser::Parse(std::string& problem)
{
    // Sample records come first: most lines of a long trace are samples.
    static constexpr KeywordEntry kKeywords[] = {
        {"acc", RecordKind::SAMPLE, &LineParser::Sample},
        {"light", RecordKind::SAMPLE, &LineParser::Sample},
        {"prox", RecordKind::SAMPLE, &LineParser::Sample},
        {"sensor", RecordKind::SAMPLE, &LineParser::Sample},
        {"touch", RecordKind::TOUCH, &LineParser::Touch},
        {"enable", RecordKind::ENABLE, &LineParser::HostCallWithArg},
        {"disable", RecordKind::DISABLE, &LineParser::HostCallWithArg},
        {"disable-count", RecordKind::DISABLE_COUNT, &LineParser::HostCallWithArg},
        {"supported", RecordKind::SUPPORTED, &LineParser::HostCallWithArg},
        {"idle", RecordKind::IDLE, &LineParser::HostCall},
        {"register", RecordKind::REGISTER, &LineParser::HostCall},
        {"unregister", RecordKind::UNREGISTER, &LineParser::HostCall},
        {"null-event", RecordKind::NULL_EVENT, &LineParser::HostCall},
        {"touch-noitem", RecordKind::TOUCH_NO_ITEM, &LineParser::TouchNoItem},
        {"device-sensors", RecordKind::DEVICE_SENSORS, &LineParser::DeviceSensors},
        {"fail", RecordKind::FAIL, &LineParser::Fault},
        {"heal", RecordKind::HEAL, &LineParser::Fault},
        {"monitor-id", RecordKind::MONITOR_ID, &LineParser::IntSetting},
        {"host-return", RecordKind::HOST_RETURN, &LineParser::IntSetting},
    };
    const std::string_view word = tokens_[first_];
    for (const KeywordEntry& entry : kKeywords) {
        if (entry.word == word) {
            record_.kind = entry.kind;
            return (this->*entry.handler)(problem);
        }
    }
    return Fail(problem, "unknown record " + Quote(Keyword()));
}

enum class LineResult { RECORD, BLANK, ERROR };

// Splits `line` at blanks and tabs into `tokens`, views into the line.
void Tokenize(std::string_view line, std::vector<std::string_view>& tokens)
{
    auto blank = [](char c) { return c == ' ' || c == '\t'; };
    size_t count = 0;
    size_t pos = 0;
    while (pos < line.size()) {
        while (pos < line.size() && blank(line[pos])) {
            ++pos;
        }
        if (pos == line.size()) {
            break;
        }
        const size_t start = pos;
        while (pos < line.size() && !blank(line[pos])) {
            ++pos;
        }
        if (count == tokens.size()) {
            tokens.emplace_back();
        }
        tokens[count++] = line.substr(start, pos - start);
    }
    tokens.resize(count);
}

// "@MS": a non-negative decimal number of milliseconds.
bool ParseStamp(std::string_view token, double& stamp)
{
    // Digits, then optionally a dot and more digits: no sign, no exponent.
    const std::string_view digits = token.substr(1);
    if (!IsPlainDecimal(digits) || digits[0] == '-') {
        return false;
    }
    // Plain decimals: from_chars rounds exactly as strtod does.
    const auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), stamp);
    (void)ptr;
    if (ec != std::errc{}) {
        stamp = std::strtod(std::string(digits).c_str(), nullptr);
    }
    return std::isfinite(stamp);
}

// Parses one raw line (newline removed) into `record`; `tokens` is scratch space kept
// from line to line.
LineResult ParseLine(const std::string& name, int number, bool checkOnly, std::string_view line,
                     std::optional<double>& lastStamp, TraceRecord& record,
                     std::vector<std::string_view>& tokens, std::string& error)
{
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    line = line.substr(0, line.find('#'));
    Tokenize(line, tokens);
    if (tokens.empty()) {
        return LineResult::BLANK;
    }
    auto fail = [&](const std::string& problem) {
        error = LineError(name, number, problem);
        return LineResult::ERROR;
    };
    // Field by field, so a reused record keeps its storage and its file name.
    record.kind = RecordKind::IDLE;
    record.stamp.reset();
    record.value = 0;
    record.floats.clear();
    record.action = 0;
    record.pointerId = 0;
    record.x = 0;
    record.y = 0;
    record.ids.clear();
    record.call = ServiceCall::GET_ALL_SENSORS;
    record.callSensor.reset();
    if (record.file != name) {
        record.file = name;
    }
    record.line = number;
    size_t first = 0;
    if (tokens[0][0] == '@') {
        double stamp = 0.0;
        if (!ParseStamp(tokens[0], stamp)) {
            return fail(Quote(tokens[0]) + " is not a time stamp (@ and milliseconds)");
        }
        if (stamp > Tools::kMaxStampMs) {
            return fail("time stamp " + Shorten(tokens[0].substr(1)) +
                        " is too large (at most 1000000000000 ms)");
        }
        if (lastStamp.has_value() && stamp < *lastStamp) {
            return fail(TraceParser::EarlierStamp(tokens[0].substr(1)));
        }
        lastStamp = stamp;
        record.stamp = stamp;
        first = 1;
        if (tokens.size() == 1) {
            return fail("a time stamp needs a record after it");
        }
    }
    std::string problem;
    if (!LineParser(tokens, first, record, checkOnly).Parse(problem)) {
        return fail(problem);
    }
    return LineResult::RECORD;
}

}  // namespace

std::string TraceParser::EarlierStamp(std::string_view text)
{
    return "time stamp " + Shorten(text) + " is earlier than the one before";
}

bool TraceParser::ParseText(const std::string& name, const std::string& text,
                            std::vector<TraceRecord>& records, std::string& error)
{
    std::optional<double> lastStamp;
    std::vector<std::string_view> tokens;
    size_t start = 0;
    for (int number = 1; start < text.size(); ++number) {
        const size_t end = std::min(text.find('\n', start), text.size());
        if (end - start > LineReader::kMaxLineBytes) {
            error = LineError(name, number, LineTooLong());
            return false;
        }
        TraceRecord record;
        const std::string_view line = std::string_view(text).substr(start, end - start);
        switch (ParseLine(name, number, false, line, lastStamp, record, tokens, error)) {
            case LineResult::ERROR:
                return false;
            case LineResult::RECORD:
                records.push_back(std::move(record));
                break;
            case LineResult::BLANK:
                break;
        }
        start = end + 1;
    }
    return true;
}

bool TraceParser::ParseFile(const std::string& path, std::vector<TraceRecord>& records,
                            std::string& error)
{
    InputFile input;
    if (!input.Open(path, error)) {
        return false;
    }
    TraceParser parser(path, input.File());
    TraceRecord record;
    while (parser.Next(record, error)) {
        records.push_back(record);
    }
    return error.empty();
}

TraceParser::TraceParser(std::string name, std::FILE* file, long byteLimit)
    : name_(name), reader_(std::move(name), file, byteLimit)
{
}

TraceParser::~TraceParser() = default;

void TraceParser::ReadHeading(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t\r";
    const size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos || line[start] != '#') {
        headingDone_ = true;
        return;
    }
    const size_t hashes = line.find_first_not_of('#', start);
    const size_t first =
        hashes == std::string_view::npos ? hashes : line.find_first_not_of(kBlanks, hashes);
    if (first == std::string_view::npos) {
        return;
    }
    const std::string_view words = line.substr(first, line.find_last_not_of(kBlanks) + 1 - first);
    heading_ += (heading_.empty() ? "" : " ") + std::string(words);
}

bool TraceParser::Next(TraceRecord& record, std::string& error)
{
    error.clear();
    std::string_view text;
    while (reader_.Next(text, error)) {
        const int line = reader_.Line();
        if (!headingDone_) {
            ReadHeading(text);
        }
        const bool stamped = lastStamp_.has_value();
        const LineResult result =
            ParseLine(name_, line, checkOnly_, text, lastStamp_, record, tokens_, error);
        if (!stamped && lastStamp_.has_value()) {
            // The stamp is the line's first word; it counts even if the rest fails.
            firstStamp_ = StampAt{line, *lastStamp_, std::string(tokens_[0].substr(1))};
        }
        switch (result) {
            case LineResult::ERROR:
                return false;
            case LineResult::RECORD:
                return true;
            case LineResult::BLANK:
                break;
        }
    }
    return false;
}

}  // namespace Tarvo::Tools
