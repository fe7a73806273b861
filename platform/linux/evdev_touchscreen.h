// An open evdev touchscreen, read through libevdev: finds one by its capabilities,
// reports its axis ranges, and hands out its events, resynchronising after the
// kernel's queue overflowed (SYN_DROPPED).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct libevdev;

namespace Tarvo::Linux {

class EvdevTouchscreen {
public:
    enum class ReadStatus { OK, GONE };
    using EventHandler =
        std::function<void(uint16_t type, uint16_t code, int32_t value, int64_t timeUs)>;

    EvdevTouchscreen() = default;
    ~EvdevTouchscreen();
    EvdevTouchscreen(const EvdevTouchscreen&) = delete;
    EvdevTouchscreen& operator=(const EvdevTouchscreen&) = delete;

    // An event node, and what udev says it is once it has classified it (ID_INPUT):
    // then it is not opened to find out.
    struct Node {
        enum class Kind { UNKNOWN, TOUCHSCREEN, OTHER };
        std::string path;
        Kind kind = Kind::UNKNOWN;
    };

    // The first touchscreen among `nodes` (event nodes in `dir`, in number order); empty
    // when there is none. Nodes that cannot be read are named in `problems`.
    static std::string Find(const std::vector<Node>& nodes, const std::string& dir,
                            std::vector<std::string>& problems);

    // False with `error` set when `path` cannot be opened or is no touchscreen.
    bool Open(const std::string& path, std::string& error);
    void Close();
    int Fd() const { return fd_; }
    const std::string& Path() const { return path_; }
    std::string Name() const;

    // ABS_MT_POSITION_X/Y, or ABS_X/Y on a single-touch screen.
    int32_t MinX() const { return minX_; }
    int32_t MaxX() const { return maxX_; }
    int32_t MinY() const { return minY_; }
    int32_t MaxY() const { return maxY_; }
    // ABS_MT_SLOT maximum + 1, or 1 without slots.
    int Slots() const { return slots_; }

    // Hands every event queued now to `handler`, the state after a SYN_DROPPED
    // included. GONE with `error` set when the device went away or cannot be read.
    ReadStatus ReadAvailable(const EventHandler& handler, std::string& error);

private:
    static bool IsTouchscreen(const libevdev* device, bool& direct);

    int fd_ = -1;
    libevdev* device_ = nullptr;
    std::string path_;
    int32_t minX_ = 0;
    int32_t maxX_ = 0;
    int32_t minY_ = 0;
    int32_t maxY_ = 0;
    int slots_ = 1;
};

}  // namespace Tarvo::Linux
