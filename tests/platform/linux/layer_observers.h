// What the Linux layer tells a test: presence changes, log lines, and a wait for either.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "linux_platform.h"
#include "wait_until.h"

namespace Tarvo::Linux {

// "{1,5 /dev/input/event3}" in test messages.
inline void PrintTo(const DevicePresence& presence, std::ostream* out)
{
    *out << "{";
    for (size_t i = 0; i < presence.sensors.size(); ++i) {
        *out << (i == 0 ? "" : ",") << presence.sensors[i];
    }
    *out << " " << (presence.touchscreen.empty() ? "-" : presence.touchscreen) << "}";
}

namespace Test {

using Tarvo::Test::WaitUntil;

// The presence observer's calls, and the threads they came on. Installed on creation,
// removed on destruction.
class PresenceLog {
public:
    PresenceLog()
    {
        LinuxPlatform::SetPresenceObserver([this](const DevicePresence& presence) {
            std::lock_guard<std::mutex> lock(mutex_);
            seen_.push_back(presence);
            threads_.push_back(std::this_thread::get_id());
        });
    }
    ~PresenceLog() { LinuxPlatform::SetPresenceObserver({}); }
    PresenceLog(const PresenceLog&) = delete;
    PresenceLog& operator=(const PresenceLog&) = delete;

    std::vector<DevicePresence> Seen() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return seen_;
    }
    std::vector<std::thread::id> Threads() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return threads_;
    }
    // Waits until the observer has been told `presence` last.
    bool WaitForLast(const DevicePresence& presence) const
    {
        return WaitUntil([&] {
            const std::vector<DevicePresence> seen = Seen();
            return !seen.empty() && seen.back() == presence;
        });
    }

private:
    mutable std::mutex mutex_;
    std::vector<DevicePresence> seen_;
    std::vector<std::thread::id> threads_;
};

// The layer's log lines, through its sink. Installed on creation, removed on destruction.
class LogLines {
public:
    LogLines()
    {
        LinuxPlatform::SetLogSink([this](int, const std::string& line) {
            std::lock_guard<std::mutex> lock(mutex_);
            lines_.push_back(line);
        });
    }
    ~LogLines() { LinuxPlatform::SetLogSink({}); }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    std::vector<std::string> All() const
    {
        std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }
    // The lines holding `text`.
    std::vector<std::string> With(const std::string& text) const
    {
        std::vector<std::string> lines = All();
        lines.erase(
            std::remove_if(lines.begin(), lines.end(),
                           [&](const std::string& l) { return l.find(text) == std::string::npos; }),
            lines.end());
        return lines;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

inline DevicePresence Present(std::vector<int32_t> sensors, std::string touchscreen = "")
{
    DevicePresence presence;
    presence.sensors = std::move(sensors);
    presence.touchscreen = std::move(touchscreen);
    return presence;
}

}  // namespace Test
}  // namespace Tarvo::Linux
