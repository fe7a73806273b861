#include "evdev_touchscreen.h"

#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Tarvo::Linux {
namespace {

int64_t TimeUs(const input_event& event)
{
    return static_cast<int64_t>(event.input_event_sec) * 1000000 + event.input_event_usec;
}

std::string OpenError(const std::string& path, int error)
{
    std::string text = "cannot open " + path + ": " + std::strerror(error);
    if (error == EACCES || error == EPERM) {
        text += " (join the input group or add a udev rule)";
    }
    return text;
}

}  // namespace

EvdevTouchscreen::~EvdevTouchscreen()
{
    Close();
}

bool EvdevTouchscreen::IsTouchscreen(const libevdev* device, bool& direct)
{
    const bool multiTouch = libevdev_has_event_code(device, EV_ABS, ABS_MT_POSITION_X) &&
                            libevdev_has_event_code(device, EV_ABS, ABS_MT_POSITION_Y);
    const bool singleTouch = libevdev_has_event_code(device, EV_ABS, ABS_X) &&
                             libevdev_has_event_code(device, EV_ABS, ABS_Y) &&
                             libevdev_has_event_code(device, EV_KEY, BTN_TOUCH);
    direct = libevdev_has_property(device, INPUT_PROP_DIRECT);
    // Touchpads and tablets with pens move a cursor; they are not screens.
    const bool pointer = libevdev_has_property(device, INPUT_PROP_POINTER) ||
                         libevdev_has_event_code(device, EV_KEY, BTN_TOOL_PEN);
    return (multiTouch || (singleTouch && direct)) && !pointer;
}

std::string EvdevTouchscreen::Find(const std::vector<Node>& nodes, const std::string& dir,
                                   std::vector<std::string>& problems)
{
    // A screen that says it is direct wins over one that merely lacks the pointer flag.
    std::string fallback;
    size_t denied = 0;
    const auto refused = [&](const std::string& path, int error) {
        if (error == EACCES || error == EPERM) {
            ++denied;
        } else {
            problems.push_back(OpenError(path, error));
        }
    };
    for (const Node& node : nodes) {
        const std::string& path = node.path;
        if (node.kind != Node::Kind::UNKNOWN) {
            // udev has said what it is: only whether it can be read is left to see.
            if (access(path.c_str(), R_OK) != 0) {
                refused(path, errno);
            } else if (node.kind == Node::Kind::TOUCHSCREEN) {
                return path;
            }
            continue;
        }
        const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            refused(path, errno);
            continue;
        }
        libevdev* device = nullptr;
        bool direct = false;
        bool touch = false;
        if (libevdev_new_from_fd(fd, &device) == 0) {
            touch = IsTouchscreen(device, direct);
            libevdev_free(device);
        }
        close(fd);
        if (touch && direct) {
            return path;
        }
        if (touch && fallback.empty()) {
            fallback = path;
        }
    }
    if (denied > 0) {
        // One line for all of them: without the permission it is every node alike.
        problems.push_back("cannot open " + std::to_string(denied) + " of " +
                           std::to_string(nodes.size()) + " event nodes in " + dir +
                           ": permission denied (join the input group or add a udev rule)");
    }
    return fallback;
}

bool EvdevTouchscreen::Open(const std::string& path, std::string& error)
{
    Close();
    fd_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd_ < 0) {
        error = OpenError(path, errno);
        return false;
    }
    const int rc = libevdev_new_from_fd(fd_, &device_);
    bool direct = false;
    if (rc != 0 || !IsTouchscreen(device_, direct)) {
        error = rc != 0 ? path + " is no evdev device: " + std::strerror(-rc)
                        : path + " is no touchscreen (no touch axes, or a touchpad)";
        Close();
        return false;
    }
    path_ = path;
    const bool multiTouch = libevdev_has_event_code(device_, EV_ABS, ABS_MT_POSITION_X);
    const input_absinfo* x = libevdev_get_abs_info(device_, multiTouch ? ABS_MT_POSITION_X : ABS_X);
    const input_absinfo* y = libevdev_get_abs_info(device_, multiTouch ? ABS_MT_POSITION_Y : ABS_Y);
    minX_ = x->minimum;
    maxX_ = x->maximum;
    minY_ = y->minimum;
    maxY_ = y->maximum;
    slots_ = libevdev_has_event_code(device_, EV_ABS, ABS_MT_SLOT)
                 ? libevdev_get_abs_maximum(device_, ABS_MT_SLOT) + 1
                 : 1;
    return true;
}

void EvdevTouchscreen::Close()
{
    if (device_ != nullptr) {
        libevdev_free(device_);
        device_ = nullptr;
    }
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
}

std::string EvdevTouchscreen::Name() const
{
    const char* name = device_ != nullptr ? libevdev_get_name(device_) : nullptr;
    return name != nullptr ? name : "";
}

EvdevTouchscreen::ReadStatus EvdevTouchscreen::ReadAvailable(const EventHandler& handler,
                                                             std::string& error)
{
    if (device_ == nullptr) {
        error = "no device open";
        return ReadStatus::GONE;
    }
    unsigned int flags = LIBEVDEV_READ_FLAG_NORMAL;
    for (;;) {
        input_event event{};
        const int rc = libevdev_next_event(device_, flags, &event);
        if (rc == LIBEVDEV_READ_STATUS_SYNC) {
            // SYN_DROPPED (when entering sync mode) or one event of the resynchronised
            // state; the decoder takes both as they come.
            handler(event.type, event.code, event.value, TimeUs(event));
            flags = LIBEVDEV_READ_FLAG_SYNC;
            continue;
        }
        if (rc == LIBEVDEV_READ_STATUS_SUCCESS) {
            handler(event.type, event.code, event.value, TimeUs(event));
            continue;
        }
        if (rc == -EAGAIN) {
            if (flags == LIBEVDEV_READ_FLAG_SYNC) {
                flags = LIBEVDEV_READ_FLAG_NORMAL;  // resync done; read on normally
                continue;
            }
            return ReadStatus::OK;
        }
        error = "reading " + path_ + " failed: " + std::strerror(-rc);
        return ReadStatus::GONE;
    }
}

}  // namespace Tarvo::Linux
