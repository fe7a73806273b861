#include "getevent_reader.h"

#include <linux/input-event-codes.h>

#include <libevdev/libevdev.h>

#include <cerrno>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <vector>

#include "line_error.h"

namespace Tarvo::Import {
namespace {

bool ParseHex(const std::string& text, long long& value)
{
    if (text.empty() || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, 16);
    return errno == 0 && end == text.c_str() + text.size();
}

// A type by name ("EV_ABS") or hex number ("0003"); -1 when unknown.
int TypeOf(const std::string& text)
{
    long long value = 0;
    if (ParseHex(text, value)) {
        return value <= 0xffff ? static_cast<int>(value) : -1;
    }
    return libevdev_event_type_from_name(text.c_str());
}

int CodeOf(int type, const std::string& text)
{
    long long value = 0;
    if (ParseHex(text, value)) {
        return value <= 0xffff ? static_cast<int>(value) : -1;
    }
    return libevdev_event_code_from_name(static_cast<unsigned int>(type), text.c_str());
}

// Values are 32-bit hex ("ffffffff" is -1); key values may be named under -l.
bool ValueOf(const std::string& text, int32_t& value)
{
    long long raw = 0;
    if (ParseHex(text, raw) && raw <= 0xffffffffLL) {
        value = static_cast<int32_t>(static_cast<uint32_t>(raw));
        return true;
    }
    if (text == "DOWN" || text == "UP" || text == "REPEAT") {
        value = text == "DOWN" ? 1 : text == "UP" ? 0 : 2;
        return true;
    }
    return false;
}

std::vector<std::string> Words(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;) {
        words.push_back(word);
    }
    return words;
}

// "ABS_MT_POSITION_X : value 0, min 0, max 1079, fuzz 0, flat 0, resolution 0" -> the
// axis (a resolution that is missing or does not read is unknown, 0).
bool ParseAxisLine(const std::string& text, RawAxis& axis)
{
    const size_t colon = text.find(" : value");
    const size_t atMin = text.find("min ");
    const size_t atMax = text.find("max ");
    if (colon == std::string::npos || atMin == std::string::npos || atMax == std::string::npos) {
        return false;
    }
    const std::vector<std::string> head = Words(text.substr(0, colon));
    if (head.empty()) {
        return false;
    }
    const int code = CodeOf(EV_ABS, head.back());
    const long long lo = std::strtoll(text.c_str() + atMin + 4, nullptr, 10);
    const long long hi = std::strtoll(text.c_str() + atMax + 4, nullptr, 10);
    if (code < 0 || lo < std::numeric_limits<int32_t>::min() ||
        hi > std::numeric_limits<int32_t>::max()) {
        return false;
    }
    const size_t atResolution = text.find("resolution ");
    const long long resolution = atResolution == std::string::npos
                                     ? 0
                                     : std::strtoll(text.c_str() + atResolution + 11, nullptr, 10);
    axis.code = static_cast<uint16_t>(code);
    axis.min = static_cast<int32_t>(lo);
    axis.max = static_cast<int32_t>(hi);
    axis.resolution = resolution > 0 && resolution <= std::numeric_limits<int32_t>::max()
                          ? static_cast<int32_t>(resolution)
                          : 0;
    return true;
}

}  // namespace

bool GeteventReader::Looks(const std::string& firstLines)
{
    return firstLines.rfind("add device", 0) == 0 || firstLines.rfind("[", 0) == 0 ||
           firstLines.rfind("/dev/input/", 0) == 0 || firstLines.rfind("could not", 0) == 0;
}

bool GeteventReader::Read(Tools::LineReader& lines, const AxisSink& onAxis,
                          const EventSink& onEvent, std::string& error)
{
    GeteventReader reader(lines.Name(), onAxis, onEvent, error);
    std::string_view view;
    std::string line;
    while (lines.Next(view, error)) {
        reader.number_ = lines.Line();
        line.assign(view.data(), view.size());
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!reader.TakeLine(line)) {
            return false;
        }
    }
    return error.empty();
}

GeteventReader::GeteventReader(const std::string& name, const AxisSink& onAxis,
                               const EventSink& onEvent, std::string& error)
    : name_(name), onAxis_(onAxis), onEvent_(onEvent), error_(error)
{
}

bool GeteventReader::Fail(const std::string& problem)
{
    error_ = Tools::LineError(name_, number_, problem);
    return false;
}

bool GeteventReader::TakeLine(const std::string& line)
{
    const std::vector<std::string> words = Words(line);
    if (words.empty() || line.rfind("could not", 0) == 0 || line.rfind("poll", 0) == 0) {
        return true;  // blank, or getevent's own complaints about other devices
    }
    if (line.rfind("add device", 0) == 0) {
        blockDevice_ = words.back();
        inAbs_ = false;
        return true;
    }
    if (std::isspace(static_cast<unsigned char>(line[0])) != 0) {
        TakeDescription(line);
        return true;
    }
    if (line[0] != '[') {
        if (line.rfind("/dev/input/", 0) == 0) {
            return Fail("event without a time stamp (record with getevent -t or -lt)");
        }
        return Fail("not a getevent line: " + Tools::Quote(line));
    }
    return TakeEvent(line);
}

void GeteventReader::TakeDescription(const std::string& line)
{
    // Inside a description block: only the ABS axes matter.
    const size_t section = line.find("): ");
    if (section != std::string::npos && line.find(" (00") != std::string::npos) {
        inAbs_ = line.find("ABS (0003)") != std::string::npos;
    } else if (line.find(':') != std::string::npos && line.find(" : value") == std::string::npos) {
        inAbs_ = false;  // "name:", "input props:", "location:" ...
    }
    RawAxis axis;
    if (inAbs_ &&
        ParseAxisLine(line.substr(section == std::string::npos ? 0 : section + 3), axis)) {
        onAxis_(blockDevice_, axis);
    }
}

bool GeteventReader::TakeEvent(const std::string& line)
{
    const size_t close = line.find(']');
    if (close == std::string::npos) {
        return Fail("time stamp without ']'");
    }
    RawEvent event;
    event.line = number_;
    const std::vector<std::string> stamp = Words(line.substr(1, close - 1));
    if (stamp.size() != 1 || !ParseEventTime(stamp[0], event.timeUs)) {
        return Fail("bad time stamp " + Tools::Quote(line.substr(0, close + 1)));
    }
    std::vector<std::string> words = Words(line.substr(close + 1));
    std::string device;
    if (!words.empty() && words[0].back() == ':') {
        device = words[0].substr(0, words[0].size() - 1);
        words.erase(words.begin());
    }
    if (words.size() != 3) {
        return Fail("event needs TYPE CODE VALUE, got " + std::to_string(words.size()) + " fields");
    }
    const int type = TypeOf(words[0]);
    const int code = type < 0 ? -1 : CodeOf(type, words[1]);
    if (type < 0 || code < 0) {
        return true;  // a type or code this build does not know: nothing we decode
    }
    if (!ValueOf(words[2], event.value)) {
        return type == EV_ABS || type == EV_SYN ? Fail("bad value " + Tools::Quote(words[2]))
                                                : true;
    }
    event.type = static_cast<uint16_t>(type);
    event.code = static_cast<uint16_t>(code);
    onEvent_(device, event);
    return true;
}

}  // namespace Tarvo::Import
