#include "gesture_trace_generator.h"

#include <algorithm>
#include <climits>

namespace Tarvo::Replay::Test {
namespace {
// The reference display the gesture distances are drawn for.
constexpr int kWidth = 1344;
constexpr int kHeight = 2772;
}  // namespace

std::string GestureTraceGenerator::Generate()
{
    for (int type : {9, 10, 11, 12, 13}) {
        if (Chance(90)) {
            out_ << "enable " << type << "\n";
        }
    }
    for (int type : {3, 4, 6}) {
        if (Chance(30)) {
            out_ << "enable " << type << "\n";
        }
    }
    const int segments = Between(4, 11);
    for (int i = 0; i < segments; ++i) {
        if (Chance(75)) {
            LiftAll();
        }
        const int kind = Pick(100);
        if (kind < 20) {
            Swipe();
        } else if (kind < 30) {
            Drag();
        } else if (kind < 50) {
            Pinch();
        } else if (kind < 77) {
            Slide();
        } else if (kind < 87) {
            Stray();
        } else if (kind < 95) {
            DeviceMotion();
        } else {
            HostCall();
        }
    }
    if (Chance(50)) {
        LiftAll();
    }
    return out_.str();
}

void GestureTraceGenerator::Swipe()
{
    // Inside an edge zone, or just outside it.
    const int edge = Pick(3);
    const bool nearMiss = Chance(15);
    int x = Between(200, 1100);
    int y = Between(400, 2400);
    int dx = 0;
    int dy = 0;
    const int step = Between(10, 120);
    if (edge == 0) {  // right edge, moving left
        x = nearMiss ? (Chance(50) ? 1209 : 1344) : Between(1210, 1343);
        dx = -step;
    } else if (edge == 1) {  // left edge, moving right
        x = nearMiss ? (Chance(50) ? 0 : 134) : Between(1, 133);
        dx = step;
    } else {  // bottom edge, moving up
        y = nearMiss ? 2633 : Between(2634, 2771);
        dy = -step;
    }
    if (Chance(20)) {  // the wrong way, or across
        std::swap(dx, dy);
        dx = Chance(50) ? dx : -dx;
    }
    Start(x, y);
    MoveAll(dx + Between(-15, 15), dy + Between(-15, 15), Between(1, 10), 100, 4);
}

void GestureTraceGenerator::Drag()
{
    Start(Between(300, 1000), Between(600, 2000));
    MoveAll(Between(-150, 150), Between(-150, 150), Between(1, 8), 100, 10);
}

void GestureTraceGenerator::Pinch()
{
    const int x = Between(300, 1000);
    const int y = Between(700, 2000);
    Start(x, y);
    if (Chance(5)) {
        Down(FreeId(), x, y);  // on top of the first finger
    } else {
        Down(FreeId(), x + Between(-500, 500), y + Between(-700, 700));
    }
    if (Chance(8)) {
        Stray();
    }
    const int steps = Between(2, 14);
    const int sign = Chance(50) ? 1 : -1;  // opening or closing
    const int speed = Between(10, 90);
    const int turnFrom = Chance(25) ? Pick(steps) : steps;  // a turn, maybe mid-pinch
    for (int s = 0; s < steps && fingers_.size() >= 2; ++s) {
        const bool turning = s >= turnFrom;
        const Finger a = fingers_[0];
        const Finger b = fingers_[1];
        const int64_t dx = static_cast<int64_t>(b.x) - a.x;
        const int64_t dy = static_cast<int64_t>(b.y) - a.y;
        const int64_t length = std::max<int64_t>(1, std::abs(dx) + std::abs(dy));
        const int mx = static_cast<int>(dx * speed * sign / length);
        const int my = static_cast<int>(dy * speed * sign / length);
        if (!Chance(20)) {
            Move(0, a.x - mx, a.y - my);
        }
        if (turning) {
            Move(1, b.x + my * 2, b.y - mx * 2);
        } else if (!Chance(20)) {
            Move(1, b.x + mx, b.y + my);
        }
        MaybeInterrupt();
    }
    if (Chance(25) && fingers_.size() == 2) {  // a third finger joins
        Down(FreeId(), x + Between(-300, 300), y + Between(-300, 300));
        MoveAll(Between(-60, 60), Between(-60, 60), Between(1, 5), 100, 20);
    }
}

void GestureTraceGenerator::Slide()
{
    const int x = Between(100, 700);
    const int y = Between(500, 2200);
    const int gap = Between(100, 300);
    Start(x, y);
    Down(FreeId(), x + gap, y + Between(-40, 40));
    Down(FreeId(), x + 2 * gap, y + Between(-40, 40));
    if (Chance(8)) {
        Stray();
    }
    const int step = Chance(20) ? Between(250, 400) : Between(30, 160);
    int dx = 0;
    int dy = 0;
    switch (Pick(5)) {
        case 0:
            dy = -step;
            break;
        case 1:
            dx = -step;
            break;
        case 2:
            dy = step;
            break;
        case 3:
            dx = step;
            break;
        default:  // diagonal: no dominant direction
            dx = Chance(50) ? step : -step;
            dy = Chance(50) ? step : -step;
            break;
    }
    const int lag = Chance(10) ? 0 : Between(60, 100);
    MoveAll(dx, dy, Between(1, 9), lag, Chance(70) ? 3 : 40);
    if (Chance(30)) {
        Down(FreeId(), Between(0, kWidth), Between(0, kHeight));  // a fourth finger
        MoveAll(dx, dy, Between(1, 3), 100, 5);
    } else if (Chance(50) && !fingers_.empty()) {
        Up(static_cast<size_t>(Pick(static_cast<int>(fingers_.size()))));
        MoveAll(Between(-80, 80), Between(-80, 80), Between(1, 6), 100, 30);
        if (Chance(50)) {  // another third finger, and the three slide on
            Down(FreeId(), Between(0, kWidth), Between(0, kHeight));
            MoveAll(dx, dy, Between(1, 9), lag, 10);
        }
    }
}

void GestureTraceGenerator::Stray()
{
    const int x = Between(-50, kWidth + 50);
    const int y = Between(-50, kHeight + 50);
    switch (Pick(12)) {
        case 0:
            if (fingers_.empty()) {
                Down(Between(1, 9), x, y);  // a first finger that is not finger 0
            }
            break;
        case 1:
            out_ << "touch move " << Between(5, 20) << " " << x << " " << y << " " << Ids() << "\n";
            break;
        case 2:
            out_ << "touch up 0 " << x << " " << y << " 0,1,2,3,4\n";
            break;
        case 3: {
            static const int kActions[] = {0, 1, 5, -1, 99};
            out_ << "touch " << kActions[Pick(5)] << " " << Pick(3) << " " << x << " " << y << " "
                 << Ids() << "\n";
            break;
        }
        case 4:
            out_ << "touch-noitem " << (Chance(50) ? "move" : "down") << " 0 " << Ids() << "\n";
            break;
        case 5:
            if (!fingers_.empty()) {  // a finger already down comes down again
                out_ << "touch down " << fingers_.back().id << " " << x << " " << y << " " << Ids()
                     << "\n";
            }
            break;
        case 6:
            out_ << "touch down 4 " << x << " " << y << " 0,1,2,3,4\n";
            break;
        case 7:
            out_ << "touch move 0 " << (Chance(50) ? INT_MAX : INT_MIN) << " " << INT_MAX << " "
                 << Ids() << "\n";
            break;
        case 8:
            out_ << "touch up " << Pick(3) << " " << x << " " << y << " -\n";
            break;
        default:  // finger 0 alone, as if the others had gone unseen
            out_ << "touch down 0 " << x << " " << y << " 0\n";
            break;
    }
}

void GestureTraceGenerator::DeviceMotion()
{
    static const float kPoses[][3] = {{0.1F, 0.2F, 9.8F}, {6.9F, 0.2F, 6.9F}, {0.1F, 0.2F, -9.8F},
                                      {3.3F, 8.6F, 2.7F}, {9.8F, 0.1F, 0.2F}, {15.0F, 3.0F, 2.0F}};
    const int samples = Between(1, 8);
    for (int s = 0; s < samples; ++s) {
        const float* pose = kPoses[Pick(6)];
        Stamp();
        out_ << "acc " << pose[0] << " " << pose[1] << " " << pose[2] << "\n";
    }
    if (Chance(30)) {
        out_ << (Chance(50) ? "prox 0\n" : "light 12\n");
    }
}

void GestureTraceGenerator::HostCall()
{
    static const int kTypes[] = {9, 10, 11, 12, 13, 3, 4};
    switch (Pick(5)) {
        case 0:
            out_ << "disable " << kTypes[Pick(7)] << "\n";
            break;
        case 1:
            out_ << "enable " << kTypes[Pick(7)] << "\n";
            break;
        case 2:
            out_ << (Chance(50) ? "unregister\n" : "register\n");
            break;
        case 3:
            out_ << "host-return " << (Chance(50) ? 1 : 0) << "\n";
            break;
        default:
            out_ << "idle\n";
            break;
    }
}

void GestureTraceGenerator::MoveAll(int dx, int dy, int steps, int lagPercent, int jitter)
{
    // Fingers report independently: in any order, some not every time, some faster.
    const int sendPercent = Chance(50) ? 100 : Between(50, 95);
    std::vector<int> speed;
    for (const Finger& finger : fingers_) {
        speed.push_back(finger.id == 0 ? 100 : Chance(20) ? Between(0, 200) : lagPercent);
    }
    for (int s = 0; s < steps; ++s) {
        std::vector<size_t> order;
        for (size_t index = 0; index < fingers_.size(); ++index) {
            order.push_back(index);
        }
        std::shuffle(order.begin(), order.end(), random_);
        for (size_t index : order) {
            if (index >= fingers_.size() || !Chance(sendPercent)) {
                continue;
            }
            const int share = index < speed.size() ? speed[index] : 100;
            const Finger& finger = fingers_[index];
            Move(index, finger.x + dx * share / 100 + Between(-jitter, jitter),
                 finger.y + dy * share / 100 + Between(-jitter, jitter));
        }
        MaybeInterrupt();
    }
}

void GestureTraceGenerator::MaybeInterrupt()
{
    const int roll = Pick(100);
    if (roll < 4) {
        Down(FreeId(), Between(0, kWidth), Between(0, kHeight));
    } else if (roll < 8 && !fingers_.empty()) {
        Up(static_cast<size_t>(Pick(static_cast<int>(fingers_.size()))));
    } else if (roll < 11) {
        Stray();
    } else if (roll < 13) {
        DeviceMotion();
    } else if (roll < 14) {
        HostCall();
    }
}

void GestureTraceGenerator::Down(int32_t id, int32_t x, int32_t y)
{
    fingers_.push_back(Finger{id, x, y});
    Stamp();
    out_ << "touch down " << id << " " << x << " " << y << " " << Ids() << "\n";
}

void GestureTraceGenerator::Move(size_t index, int32_t x, int32_t y)
{
    fingers_[index].x = x;
    fingers_[index].y = y;
    Stamp();
    out_ << "touch move " << fingers_[index].id << " " << x << " " << y << " " << Ids() << "\n";
}

void GestureTraceGenerator::Up(size_t index)
{
    const Finger finger = fingers_[index];
    Stamp();
    out_ << "touch up " << finger.id << " " << finger.x << " " << finger.y << " " << Ids() << "\n";
    fingers_.erase(fingers_.begin() + static_cast<std::ptrdiff_t>(index));
}

void GestureTraceGenerator::LiftAll()
{
    while (!fingers_.empty()) {
        Up(Chance(70) ? fingers_.size() - 1
                      : static_cast<size_t>(Pick(static_cast<int>(fingers_.size()))));
    }
}

void GestureTraceGenerator::Start(int32_t x, int32_t y)
{
    if (!fingers_.empty() && Chance(50)) {
        LiftAll();
    }
    // Finger 0 may still be down from the last gesture: it comes down again where it is.
    for (size_t i = 0; i < fingers_.size(); ++i) {
        if (fingers_[i].id == 0) {
            Up(i);
            break;
        }
    }
    Down(0, x, y);
}

int32_t GestureTraceGenerator::FreeId() const
{
    for (int32_t id = 0;; ++id) {
        if (std::none_of(fingers_.begin(), fingers_.end(),
                         [id](const Finger& finger) { return finger.id == id; })) {
            return id;
        }
    }
}

std::string GestureTraceGenerator::Ids() const
{
    if (fingers_.empty()) {
        return "-";
    }
    std::string ids;
    for (const Finger& finger : fingers_) {
        ids += (ids.empty() ? "" : ",") + std::to_string(finger.id);
    }
    return ids;
}

void GestureTraceGenerator::Stamp()
{
    if (Chance(10)) {
        stamp_ += Pick(40);
        out_ << "@" << stamp_ << " ";
    }
}

}  // namespace Tarvo::Replay::Test
