#include "log_capture.h"

namespace Tarvo::Quil::Test {

LogCapture::LogCapture(int level)
{
    Host::HostPlatform::SetLogSink([this](const Host::LogLine& line) {
        std::lock_guard<std::mutex> lock(mutex_);
        lines_.push_back(line);
    });
    Host::HostPlatform::SetLogLevel(level);
}

LogCapture::~LogCapture()
{
    Host::HostPlatform::WaitIdle();
    Host::HostPlatform::SetLogLevel(8);
    Host::HostPlatform::SetLogSink({});
}

std::vector<Host::LogLine> LogCapture::Lines() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
}

bool LogCapture::Contains(const std::string& tag, const std::string& message, int level) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& line : lines_) {
        if (line.tag == tag && line.message == message && (level == 0 || line.level == level)) {
            return true;
        }
    }
    return false;
}

int LogCapture::Count(const std::string& tag, const std::string& message) const
{
    std::lock_guard<std::mutex> lock(mutex_);
    int count = 0;
    for (const auto& line : lines_) {
        count += (line.tag == tag && line.message == message) ? 1 : 0;
    }
    return count;
}

}  // namespace Tarvo::Quil::Test
