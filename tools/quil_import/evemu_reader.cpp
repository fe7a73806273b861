#include "evemu_reader.h"

#include <linux/input-event-codes.h>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <vector>

#include "line_error.h"

namespace Tarvo::Import {
namespace {

bool ParseInt(const std::string& text, int base, long long& value)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, base);
    return errno == 0 && end == text.c_str() + text.size();
}

std::string StripComment(const std::string& line)
{
    const size_t hash = line.find('#');
    return hash == std::string::npos ? line : line.substr(0, hash);
}

}  // namespace

bool ParseEventTime(const std::string& text, int64_t& us)
{
    const size_t dot = text.find('.');
    long long seconds = 0;
    long long fraction = 0;
    const std::string whole = text.substr(0, dot);
    std::string part = dot == std::string::npos ? "0" : text.substr(dot + 1);
    if (part.empty() || part.size() > 9 ||
        part.find_first_not_of("0123456789") != std::string::npos ||
        whole.find_first_not_of("0123456789") != std::string::npos ||
        !ParseInt(whole, 10, seconds) || !ParseInt(part, 10, fraction) ||
        seconds > std::numeric_limits<int64_t>::max() / 1000000 - 1) {
        return false;
    }
    // Scale the fraction to microseconds whatever its number of digits.
    for (size_t digits = part.size(); digits < 6; ++digits) {
        fraction *= 10;
    }
    for (size_t digits = part.size(); digits > 6; --digits) {
        fraction /= 10;
    }
    us = seconds * 1000000 + fraction;
    return true;
}

bool EvemuReader::Looks(const std::string& firstLines)
{
    return firstLines.rfind("# EVEMU", 0) == 0 || firstLines.find("\nE: ") != std::string::npos ||
           firstLines.rfind("E: ", 0) == 0 || firstLines.rfind("N: ", 0) == 0 ||
           firstLines.find("\nN: ") != std::string::npos;
}

bool EvemuReader::Read(Tools::LineReader& lines, const AxisSink& onAxis, const EventSink& onEvent,
                       std::string& error)
{
    EvemuReader reader(lines.Name(), onAxis, onEvent, error);
    std::string_view view;
    std::string line;
    while (lines.Next(view, error)) {
        reader.number_ = lines.Line();
        line.assign(view.data(), view.size());
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty() && !reader.TakeLine(line)) {
            return false;
        }
    }
    return error.empty();
}

EvemuReader::EvemuReader(const std::string& name, const AxisSink& onAxis, const EventSink& onEvent,
                         std::string& error)
    : name_(name), onAxis_(onAxis), onEvent_(onEvent), error_(error)
{
}

bool EvemuReader::Fail(const std::string& problem)
{
    error_ = Tools::LineError(name_, number_, problem);
    return false;
}

bool EvemuReader::TakeLine(const std::string& line)
{
    if (line[0] == '#') {
        TakeComment(line.substr(1));
        return true;
    }
    if (line.size() < 2 || line[1] != ':') {
        return Fail("not an evemu line: " + Tools::Quote(line));
    }
    std::istringstream words(StripComment(line.substr(2)));
    std::vector<std::string> fields;
    for (std::string word; words >> word;) {
        fields.push_back(word);
    }
    switch (line[0]) {
        case 'N':
        case 'I':
        case 'P':
        case 'B':
        case 'L':
        case 'S':
            return true;  // name, ids, properties, bits, leds, switches: nothing to import
        case 'A':
            return TakeAxis(fields, line);
        case 'E':
            return TakeEvent(fields);
        default:
            return Fail("not an evemu line: " + Tools::Quote(line));
    }
}

void EvemuReader::TakeComment(const std::string& text)
{
    // The block evemu writes before the events: "#   Event type 3 (EV_ABS)",
    // "#     Event code 53 (...)", "#       Min 0", "#       Max 1279".
    std::istringstream words(text);
    std::string a;
    std::string b;
    long long value = 0;
    words >> a >> b;
    if (a == "Event" && b == "type" && words >> value) {
        commentType_ = value;
        commentCode_ = -1;
    } else if (a == "Event" && b == "code" && words >> value) {
        commentCode_ = value;
        haveCommentMin_ = false;
    } else if (a == "Min" && ParseInt(b, 10, value)) {
        commentMin_ = value;
        haveCommentMin_ = true;
    } else if (a == "Max" && ParseInt(b, 10, value) && haveCommentMin_ && commentType_ == EV_ABS &&
               commentCode_ >= 0 && commentCode_ <= 0xff &&
               commentMin_ >= std::numeric_limits<int32_t>::min() &&
               value <= std::numeric_limits<int32_t>::max()) {
        onAxis_("", RawAxis{static_cast<uint16_t>(commentCode_), static_cast<int32_t>(commentMin_),
                            static_cast<int32_t>(value), 0});
        haveCommentMin_ = false;
    }
}

bool EvemuReader::TakeAxis(const std::vector<std::string>& fields, const std::string& line)
{
    long long code = 0;
    long long min = 0;
    long long max = 0;
    if (fields.size() < 3 || !ParseInt(fields[0], 16, code) || !ParseInt(fields[1], 10, min) ||
        !ParseInt(fields[2], 10, max) || code < 0 || code > 0xff ||
        min < std::numeric_limits<int32_t>::min() || max > std::numeric_limits<int32_t>::max()) {
        return Fail("axis line needs CODE MIN MAX: " + Tools::Quote(line));
    }
    // "A: CODE MIN MAX FUZZ FLAT RESOLUTION"; older evemu versions leave out the
    // resolution, and one that does not read is taken as unknown.
    long long resolution = 0;
    if (fields.size() < 6 || !ParseInt(fields[5], 10, resolution) || resolution < 0 ||
        resolution > std::numeric_limits<int32_t>::max()) {
        resolution = 0;
    }
    onAxis_("", RawAxis{static_cast<uint16_t>(code), static_cast<int32_t>(min),
                        static_cast<int32_t>(max), static_cast<int32_t>(resolution)});
    return true;
}

bool EvemuReader::TakeEvent(const std::vector<std::string>& fields)
{
    RawEvent event;
    long long type = 0;
    long long code = 0;
    long long value = 0;
    if (fields.size() != 4) {
        return Fail("event line needs TIME TYPE CODE VALUE, got " + std::to_string(fields.size()) +
                    " fields");
    }
    if (!ParseEventTime(fields[0], event.timeUs)) {
        return Fail("bad time " + Tools::Quote(fields[0]));
    }
    if (!ParseInt(fields[1], 16, type) || !ParseInt(fields[2], 16, code) || type < 0 ||
        type > 0xffff || code < 0 || code > 0xffff) {
        return Fail("bad event type or code " + Tools::Quote(fields[1] + " " + fields[2]));
    }
    if (!ParseInt(fields[3], 10, value) || value < std::numeric_limits<int32_t>::min() ||
        value > std::numeric_limits<int32_t>::max()) {
        return Fail("bad event value " + Tools::Quote(fields[3]));
    }
    event.type = static_cast<uint16_t>(type);
    event.code = static_cast<uint16_t>(code);
    event.value = static_cast<int32_t>(value);
    event.line = number_;
    onEvent_("", event);
    return true;
}

}  // namespace Tarvo::Import
