// Heap use on the way from the platform's delivery to the host's report: once a motion
// or a gesture is under way, samples and touch events must not allocate. A replaced
// global operator new counts allocations made on every thread but the injecting one
// (the test's own injection allocates; the delivery threads and workers must not).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <vector>

#include "host_platform.h"
#include "i_motion_algo.h"
#include "motion_type.h"

namespace {
std::atomic<bool> gCounting{false};
std::atomic<uint64_t> gAllocations{0};
thread_local bool tInjecting = false;
}  // namespace

void* operator new(std::size_t size)
{
    if (gCounting.load(std::memory_order_relaxed) && !tInjecting) {
        gAllocations.fetch_add(1, std::memory_order_relaxed);
    }
    if (void* block = std::malloc(size == 0 ? 1 : size)) {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    std::free(block);
}

namespace Tarvo::Quil::Test {
namespace {

using Host::HostPlatform;

// Samples are queued as copies in a ring the sensor connection reuses; touches copy the
// finger list into inline storage, and the gesture machine reuses one object per state.
constexpr double kSampleBudgetPerThousand = 0.0;
constexpr double kTouchBudgetPerThousand = 0.0;

class SilentCallback : public IMotionAlgo::Callback {
public:
    int OnMotionChanged(const MotionData& /*data*/) override
    {
        reports.fetch_add(1, std::memory_order_relaxed);
        return 0;
    }
    std::atomic<int> reports{0};
};

class SteadyStateAllocationTest : public testing::Test {
protected:
    void SetUp() override
    {
        tInjecting = true;
        HostPlatform::Reset();
        algo_ = Create();
        ASSERT_NE(algo_, nullptr);
        algo_->RegisterCallback(callback_);
    }
    void TearDown() override
    {
        for (int type : enabled_) {
            algo_->Disable(type);
        }
        Destroy(algo_);
        HostPlatform::WaitIdle();
    }

    void Enable(std::initializer_list<int> types)
    {
        for (int type : types) {
            ASSERT_EQ(algo_->Enable(type), 0);
            enabled_.push_back(type);
        }
    }

    // Allocations per 1,000 events of `events` (played `rounds` times, each event from
    // idle, after the same number of warm-up rounds).
    double AllocationsPerThousand(const std::vector<std::function<void()>>& events, int rounds)
    {
        auto play = [&] {
            for (int round = 0; round < rounds; ++round) {
                for (const auto& event : events) {
                    event();
                    HostPlatform::WaitIdle();
                }
            }
        };
        play();
        gAllocations = 0;
        gCounting = true;
        play();
        gCounting = false;
        return 1000.0 * static_cast<double>(gAllocations.load()) /
               static_cast<double>(events.size() * rounds);
    }

    static void Print(const char* what, double perThousand)
    {
        std::printf("allocations per 1,000 %s: %.1f\n", what, perThousand);
    }

    IMotionAlgo* algo_ = nullptr;
    std::shared_ptr<SilentCallback> callback_ = std::make_shared<SilentCallback>();
    std::vector<int> enabled_;
};

std::function<void()> Acc(float x, float y, float z)
{
    return [=] { HostPlatform::InjectSample(1, {x, y, z}); };
}

std::function<void()> Touch(int32_t action, int32_t id, int32_t x, int32_t y,
                            std::vector<int32_t> ids)
{
    return [=] { HostPlatform::InjectTouch(action, id, x, y, ids); };
}

TEST_F(SteadyStateAllocationTest, AccelerometerSamplesThroughEveryRecogniser)
{
    Enable({MOTION_TYPE_FLIP, MOTION_TYPE_PICKUP, MOTION_TYPE_ROTATE, MOTION_TYPE_SHAKE,
            MOTION_TYPE_NEAR_EAR, MOTION_TYPE_POCKET});
    // Face up, tilted, face up, face down, shaken: every recogniser moves and reports.
    const std::vector<std::function<void()>> samples = {
        Acc(0.1F, 0.2F, 9.8F),
        Acc(6.9F, 0.2F, 6.9F),
        Acc(0.1F, 0.2F, 9.8F),
        Acc(0.1F, 0.2F, -9.8F),
        Acc(15.0F, 3.0F, 2.0F),
        Acc(-15.0F, -3.0F, 2.0F),
        Acc(0.1F, 9.8F, 0.2F),
        Acc(9.8F, 0.1F, 0.2F),
        [] { HostPlatform::InjectSample(5, {30}); },
        [] { HostPlatform::InjectSample(12, {0}); }};
    const double perThousand = AllocationsPerThousand(samples, 50);
    Print("samples", perThousand);
    EXPECT_GT(callback_->reports.load(), 0);
    EXPECT_LE(perThousand, kSampleBudgetPerThousand);
}

// Long strokes, as a user's gestures are: the moves inside a state are the steady
// state; the few transitions at a gesture's edges are counted as well.
TEST_F(SteadyStateAllocationTest, TouchEventsThroughEveryGesture)
{
    Enable({MOTION_TYPE_SWIPE_LEFT, MOTION_TYPE_SWIPE_RIGHT, MOTION_TYPE_SWIPE_UP,
            MOTION_TYPE_PINCH, MOTION_TYPE_THREE_FINGERS_SLIDE});
    constexpr int kMoves = 60;
    // a swipe in from the left edge
    std::vector<std::function<void()>> events = {Touch(2, 0, 30, 1500, {0})};
    for (int step = 1; step <= kMoves; ++step) {
        events.push_back(Touch(3, 0, 30 + 10 * step, 1500, {0}));
    }
    events.push_back(Touch(4, 0, 30 + 10 * kMoves, 1500, {0}));
    // a pinch opening
    events.push_back(Touch(2, 0, 600, 1300, {0}));
    events.push_back(Touch(2, 1, 760, 1420, {0, 1}));
    for (int step = 1; step <= kMoves; ++step) {
        events.push_back(Touch(3, 0, 600 - 5 * step, 1300 - 4 * step, {0, 1}));
        events.push_back(Touch(3, 1, 760 + 5 * step, 1420 + 4 * step, {0, 1}));
    }
    events.push_back(Touch(4, 1, 760 + 5 * kMoves, 1420 + 4 * kMoves, {0, 1}));
    events.push_back(Touch(4, 0, 600 - 5 * kMoves, 1300 - 4 * kMoves, {0}));
    // a three-finger slide down
    events.push_back(Touch(2, 0, 400, 800, {0}));
    events.push_back(Touch(2, 1, 600, 800, {0, 1}));
    events.push_back(Touch(2, 2, 800, 800, {0, 1, 2}));
    for (int step = 1; step <= kMoves / 2; ++step) {
        for (int32_t id = 0; id < 3; ++id) {
            events.push_back(Touch(3, id, 400 + 200 * id, 800 + 15 * step, {0, 1, 2}));
        }
    }
    events.push_back(Touch(4, 2, 800, 800 + 15 * kMoves / 2, {0, 1, 2}));
    events.push_back(Touch(4, 1, 600, 800 + 15 * kMoves / 2, {0, 1}));
    events.push_back(Touch(4, 0, 400, 800 + 15 * kMoves / 2, {0}));
    const double perThousand = AllocationsPerThousand(events, 4);
    Print("touch events", perThousand);
    EXPECT_GT(callback_->reports.load(), 0);
    EXPECT_LE(perThousand, kTouchBudgetPerThousand);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
