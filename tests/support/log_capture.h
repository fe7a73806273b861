// Captures the platform log lines written while it lives (debug level and up).
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "host_platform.h"
#include "platform_log.h"

namespace Tarvo::Quil::Test {

class LogCapture {
public:
    explicit LogCapture(int level = 3);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Host::LogLine> Lines() const;
    // Whether `message` was written under `tag` at `level` (any level when 0).
    bool Contains(const std::string& tag, const std::string& message, int level = 0) const;
    // Lines written with `message` under `tag`.
    int Count(const std::string& tag, const std::string& message) const;

private:
    mutable std::mutex mutex_;
    std::vector<Host::LogLine> lines_;
};

}  // namespace Tarvo::Quil::Test
