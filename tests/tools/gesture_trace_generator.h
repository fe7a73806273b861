// Random traces that chain touch gestures of every kind in one run: edge swipes from
// each edge (and near misses), drags that are no gesture, pinches opening, closing and
// turning, three-finger slides in every direction with lagging, diagonal and resting
// fingers. Fingers are added and lifted at random points of each gesture, gestures
// start while fingers of the last one are still down, and stray fingers, impossible
// pointer sequences, unknown actions, host calls and device motions are mixed in, so
// that whatever one gesture leaves behind in the machine can reach the next.
#pragma once

#include <cstdint>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace Tarvo::Replay::Test {

class GestureTraceGenerator {
public:
    explicit GestureTraceGenerator(uint32_t seed) : random_(seed) {}

    // One trace: the gesture types (and some device motions) enabled, then 4 to 11
    // segments.
    std::string Generate();

private:
    struct Finger {
        int32_t id;
        int32_t x;
        int32_t y;
    };

    int Pick(int n) { return static_cast<int>(random_() % static_cast<uint32_t>(n)); }
    bool Chance(int percent) { return Pick(100) < percent; }
    int Between(int low, int high) { return low + Pick(high - low + 1); }

    void Swipe();
    void Drag();
    void Pinch();
    void Slide();
    void Stray();
    void DeviceMotion();
    void HostCall();

    // Moves every finger by (dx, dy) per step over `steps` steps, each finger with its
    // own share of the movement (`lag`, in percent, for all but finger 0) and jitter;
    // fingers may be added or lifted between steps.
    void MoveAll(int dx, int dy, int steps, int lagPercent, int jitter);
    // At random: a finger comes down or goes up, a stray event, a device motion.
    void MaybeInterrupt();

    void Down(int32_t id, int32_t x, int32_t y);
    void Move(size_t index, int32_t x, int32_t y);
    void Up(size_t index);
    void LiftAll();
    // Lone finger 0 at (x, y); fingers of the last gesture may still be down.
    void Start(int32_t x, int32_t y);
    int32_t FreeId() const;
    std::string Ids() const;
    void Stamp();

    std::mt19937 random_;
    std::ostringstream out_;
    std::vector<Finger> fingers_;  // on the screen, in the order they came down
    int64_t stamp_ = 0;
};

}  // namespace Tarvo::Replay::Test
