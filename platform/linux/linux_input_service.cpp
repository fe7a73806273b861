#include "linux_input_service.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

#include "device_watcher.h"
#include "evdev_touchscreen.h"
#include "linux_log.h"
#include "linux_settings.h"
#include "platform_log.h"
#include "thread_support.h"
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

std::string LinuxInputService::Search(const std::vector<EvdevTouchscreen::Node>& nodes,
                                      const std::string& dir, std::string& whyNone)
{
    std::string path = LinuxSettings::Instance().TouchDevice();
    if (!path.empty()) {
        EvdevTouchscreen screen;
        std::string error;
        if (screen.Open(path, error)) {
            return path;
        }
        whyNone = error + "; touch gestures stay silent";
        return "";
    }
    // The one in use stays in use while it is there, whatever comes before it.
    std::string current;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        current = touchscreen_;
    }
    std::vector<std::string> problems;
    const auto inUse =
        std::find_if(nodes.begin(), nodes.end(),
                     [&](const EvdevTouchscreen::Node& n) { return n.path == current; });
    if (!current.empty() && inUse != nodes.end()) {
        path = EvdevTouchscreen::Find({*inUse}, dir, problems);
    }
    if (path.empty()) {
        problems.clear();
        path = EvdevTouchscreen::Find(nodes, dir, problems);
    }
    if (path.empty()) {
        whyNone = NoTouchscreenMessage(dir, problems);
        if (!problems.empty()) {
            // Nothing found might be a permission problem: say so now, not only when a
            // gesture is enabled.
            ReportOnce(LOG_LEVEL_ERROR, whyNone);
        }
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

void LinuxInputService::UseTouchscreen(const std::string& path, const std::string& whyNone)
{
    std::unique_lock<std::mutex> lock(mutex_);
    if (scripted_ || path != touchscreen_) {
        broken_.clear();  // a node that comes back is tried again
    }
    // One in use that is no longer found (a search keeps it while it is there) is gone:
    // told once, whoever noticed first.
    const std::string vanished = !scripted_ && !touchscreen_.empty() && path != touchscreen_ &&
                                         !monitors_.Empty() && gone_ != touchscreen_
                                     ? touchscreen_
                                     : "";
    if (!vanished.empty()) {
        gone_ = vanished;
    }
    scripted_ = false;
    touchscreen_ = path;
    whyNone_ = whyNone;
    WakeLocked();
    lock.unlock();
    if (!vanished.empty()) {
        LinuxLog::Instance().Write(LOG_LEVEL_ERROR, "touchscreen " + vanished + " went away");
    }
}

void LinuxInputService::UseScriptedTouchscreen()
{
    std::lock_guard<std::mutex> lock(mutex_);
    scripted_ = true;
    touchscreen_.clear();
    whyNone_.clear();
    WakeLocked();
}

int32_t LinuxInputService::AddMonitor(MMI::PointerMonitor monitor)
{
    DeviceWatcher::Instance().Refresh();
    std::string whyNone;
    int32_t id = -1;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!scripted_ && touchscreen_.empty()) {
            whyNone = whyNone_;
        }
        const bool first = monitors_.Empty();
        id = monitors_.Add(std::move(monitor));
        if (id >= 0 && first) {
            broken_.clear();  // enabled anew: worth another try
        }
        StartLocked();
        WakeLocked();
    }
    if (!whyNone.empty()) {
        ReportOnce(LOG_LEVEL_ERROR, whyNone);
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
        WakeLocked();  // the reader lets go of the node
    }
}

bool LinuxInputService::Play(const TouchRecord& touch)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        // From inside a delivery it would wait for itself.
        if (!scripted_ || gate_.HeldHere()) {
            return false;
        }
    }
    Deliver({touch});
    return true;
}

void LinuxInputService::StartLocked()
{
    if (reader_ != nullptr) {
        return;
    }
    wakeFd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd_ < 0) {
        LinuxLog::Instance().Write(LOG_LEVEL_ERROR,
                                   "cannot create an eventfd for the touch reader");
        return;
    }
    reader_ = std::make_unique<std::thread>([this, fd = wakeFd_] { ReadLoop(fd); });
}

void LinuxInputService::WakeLocked()
{
    if (wakeFd_ >= 0) {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(wakeFd_, &one, sizeof(one));
    }
}

std::string LinuxInputService::WantedLocked() const
{
    if (scripted_ || monitors_.Empty() || touchscreen_ == broken_) {
        return "";
    }
    return touchscreen_;
}

void LinuxInputService::ReadLoop(int wakeFd)
{
    SetThreadName("quil-touch");
    EvdevTouchscreen screen;
    std::optional<TouchFeed> feed;
    std::string open;  // the node open now
    std::vector<TouchRecord> touches;
    int64_t lastUs = 0;
    std::string error;
    const auto handler = [&](uint16_t type, uint16_t code, int32_t value, int64_t timeUs) {
        lastUs = timeUs;
        if (feed->Feed(type, code, value, timeUs, touches)) {
            ReportOnce(LOG_LEVEL_WARN,
                       "touchscreen " + open + " lost events (SYN_DROPPED); resynchronising");
        }
    };
    // Fingers still down are lifted, so no gesture waits for an up forever.
    const auto close = [&] {
        touches.clear();
        feed->ReleaseAll(lastUs, touches);
        Deliver(touches);
        screen.Close();
        feed.reset();
        open.clear();
    };
    for (;;) {
        std::string wanted;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            wanted = WantedLocked();
        }
        if (wanted != open) {
            if (!open.empty()) {
                close();
            }
            if (!wanted.empty() && screen.Open(wanted, error)) {
                feed.emplace(screen.Slots(), Input::AxisRange{screen.MinX(), screen.MaxX()},
                             Input::AxisRange{screen.MinY(), screen.MaxY()},
                             LinuxSettings::Instance().Display());
                open = wanted;
                LinuxLog::Instance().Write(LOG_LEVEL_INFO,
                                           "touch from " + open + " (" + screen.Name() + ")");
                // Back, under its old node or a new one: the outage is over.
                std::unique_lock<std::mutex> lock(mutex_);
                if (!gone_.empty()) {
                    gone_.clear();
                    lock.unlock();
                    LinuxLog::Instance().Write(LOG_LEVEL_WARN, "touchscreen " + open + " is back");
                }
            } else if (!wanted.empty()) {
                ReportOnce(LOG_LEVEL_ERROR, error + "; touch gestures stay silent");
                std::lock_guard<std::mutex> lock(mutex_);
                broken_ = wanted;
            }
        }
        pollfd fds[2] = {{wakeFd, POLLIN, 0}, {screen.Fd(), POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            continue;  // EINTR; the descriptors are valid or -1, which poll skips
        }
        if (fds[0].revents != 0) {
            uint64_t count = 0;
            [[maybe_unused]] const ssize_t got = read(wakeFd, &count, sizeof(count));
        }
        if (open.empty() || fds[1].revents == 0) {
            continue;
        }
        touches.clear();
        error.clear();
        const auto status = screen.ReadAvailable(handler, error);
        if (status == EvdevTouchscreen::ReadStatus::GONE ||
            (fds[1].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
            Deliver(touches);
            const std::string path = open;
            close();
            std::unique_lock<std::mutex> lock(mutex_);
            broken_ = path;
            if (gone_ != path) {
                gone_ = path;
                lock.unlock();
                // Once per outage: the next one is told again after the node is back.
                LinuxLog::Instance().Write(
                    LOG_LEVEL_ERROR,
                    "touchscreen " + path + " went away" + (error.empty() ? "" : ": " + error));
            }
            continue;
        }
        Deliver(touches);
    }
}

void LinuxInputService::Deliver(const std::vector<TouchRecord>& touches)
{
    for (const TouchRecord& touch : touches) {
        {
            std::unique_lock<std::mutex> lock(mutex_);
            // The reader and played touches take turns.
            gate_.WaitIdle(lock, [] { return true; });
            monitors_.CopyInto(calling_);
            if (calling_.empty()) {
                continue;
            }
            gate_.Begin();
        }
        const auto event = TouchFeed::ToPointerEvent(touch);
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
