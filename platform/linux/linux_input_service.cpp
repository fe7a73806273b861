#include "linux_input_service.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "evdev_touchscreen.h"
#include "linux_log.h"
#include "linux_settings.h"
#include "platform_log.h"
#include "touch_feed.h"

namespace Tarvo::Linux {

LinuxInputService& LinuxInputService::Instance()
{
    // Never destroyed: the library may remove its monitor from static destructors.
    static LinuxInputService* instance = new LinuxInputService;
    return *instance;
}

void LinuxInputService::ReportOnce(int level, const std::string& message)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!reported_.insert(message).second) {
            return;
        }
    }
    LinuxLog::Instance().Write(level, message);
}

std::string LinuxInputService::FindTouchscreen()
{
    std::string path = LinuxSettings::Instance().TouchDevice();
    if (!path.empty()) {
        EvdevTouchscreen screen;
        std::string error;
        return screen.Open(path, error) ? path : "";
    }
    const std::string dir = LinuxSettings::Instance().InputDirectory();
    std::vector<std::string> problems;
    path = EvdevTouchscreen::Find(dir, problems);
    if (path.empty() && !problems.empty()) {
        // Nothing found might be a permission problem: say so now, not only when a
        // gesture is enabled.
        ReportOnce(LOG_LEVEL_ERROR, NoTouchscreenMessage(dir, problems));
    }
    return path;
}

std::string LinuxInputService::NoTouchscreenMessage(const std::string& dir,
                                                    const std::vector<std::string>& problems)
{
    std::string message = "no touchscreen found in " + dir + "; touch gestures stay silent";
    for (const std::string& problem : problems) {
        message += "; " + problem;
    }
    return message;
}

int32_t LinuxInputService::AddMonitor(MMI::PointerMonitor monitor)
{
    std::lock_guard<std::mutex> lock(mutex_);
    const int32_t id = monitors_.Add(std::move(monitor));
    if (id >= 0 && reader_ == nullptr) {
        StartReaderLocked();
    }
    return id;
}

void LinuxInputService::RemoveMonitor(int32_t monitorId)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (!monitors_.Remove(monitorId)) {
        return;
    }
    gate_.WaitOut(lock);
    if (monitors_.Empty()) {
        StopReader(lock);
    }
}

void LinuxInputService::StartReaderLocked()
{
    std::string path = LinuxSettings::Instance().TouchDevice();
    std::vector<std::string> problems;
    if (path.empty()) {
        const std::string dir = LinuxSettings::Instance().InputDirectory();
        path = EvdevTouchscreen::Find(dir, problems);
        if (path.empty()) {
            const std::string message = NoTouchscreenMessage(dir, problems);
            // The lock is held: record and write here rather than through ReportOnce.
            if (reported_.insert(message).second) {
                LinuxLog::Instance().Write(LOG_LEVEL_ERROR, message);
            }
            return;
        }
    }
    wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                   "cannot create an eventfd for the touch reader");
        return;
    }
    reader_ = std::make_unique<std::thread>([this, path, fd = wakeFd_] { ReadLoop(path, fd); });
}

void LinuxInputService::StopReader(std::unique_lock<std::mutex>& lock)
{
    if (reader_ == nullptr) {
        return;
    }
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof(one));
    std::unique_ptr<std::thread> reader = std::move(reader_);
    const int wakeFd = wakeFd_;
    wakeFd_ = -1;
    if (reader->get_id() == std::this_thread::get_id()) {
        // Removed from inside a delivery: the reader ends by itself after it returns.
        reader->detach();
        return;
    }
    lock.unlock();
    reader->join();
    close(wakeFd);
    lock.lock();
}

void LinuxInputService::ReadLoop(std::string path, int wakeFd)
{
    EvdevTouchscreen screen;
    std::string error;
    if (!screen.Open(path, error)) {
        ReportOnce(LOG_LEVEL_ERROR, error + "; touch gestures stay silent");
        return;
    }
    TouchFeed feed(screen.Slots(), {screen.MinX(), screen.MaxX()}, {screen.MinY(), screen.MaxY()},
                   LinuxSettings::Instance().Display());
    LinuxLog::Instance().Write(LOG_LEVEL_INFO, "touch from " + path + " (" + screen.Name() + ")");
    std::vector<TouchRecord> touches;
    int64_t lastUs = 0;
    const auto handler = [&](uint16_t type, uint16_t code, int32_t value, int64_t timeUs) {
        lastUs = timeUs;
        if (feed.Feed(type, code, value, timeUs, touches)) {
            ReportOnce(LOG_LEVEL_WARN,
                       "touchscreen " + path + " lost events (SYN_DROPPED); resynchronising");
        }
    };
    for (;;) {
        pollfd fds[2] = {{screen.Fd(), POLLIN, 0}, {wakeFd, POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            ReportOnce(LOG_LEVEL_ERROR,
                       "waiting for touches failed: " + std::string(strerror(errno)));
            break;
        }
        if (fds[1].revents != 0) {
            break;
        }
        touches.clear();
        const auto status = screen.ReadAvailable(handler, error);
        if (status == EvdevTouchscreen::ReadStatus::GONE ||
            (fds[0].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
            // Fingers still down are lifted, so no gesture waits for an up forever.
            feed.ReleaseAll(lastUs, touches);
            Deliver(touches);
            ReportOnce(LOG_LEVEL_ERROR,
                       "touchscreen " + path + " went away" + (error.empty() ? "" : ": " + error));
            break;
        }
        Deliver(touches);
    }
}

void LinuxInputService::Deliver(const std::vector<TouchRecord>& touches)
{
    for (const TouchRecord& touch : touches) {
        const auto event = TouchFeed::ToPointerEvent(touch);
        {
            std::lock_guard<std::mutex> lock(mutex_);
            monitors_.CopyInto(calling_);
            gate_.Begin();
        }
        LinuxSettings::Instance().ObserveTouch(touch);
        for (const auto& monitor : calling_) {
            monitor(event);
        }
        // The copies go before the delivery counts as over: their code may belong to a
        // module that is unloaded as soon as RemoveMonitor returns.
        calling_.clear();
        std::lock_guard<std::mutex> lock(mutex_);
        gate_.End();
    }
}

}  // namespace Tarvo::Linux
