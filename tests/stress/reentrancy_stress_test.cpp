// The host calling back in from its report, swapping callbacks while reports flow, and
// switching gestures on and off around platform failures.
#include <atomic>
#include <memory>

#include "stress_support.h"

namespace Tarvo::Quil::Stress {
namespace {

using Host::HostPlatform;

class ReentrancyStress : public PlatformTest {
protected:
    LoadedPlugin plugin_;
};

// Every operation of the interface, in an order that exercises each result.
std::vector<int> RunEveryOperation(IMotionAlgo& algo, const std::shared_ptr<HookCallback>& cb)
{
    return {algo.IsSupportType(3) ? 1 : 0,
            algo.IsSupportType(5) ? 1 : 0,
            algo.CheckActiveAlgo() ? 1 : 0,
            algo.DisableCount(3),
            algo.Enable(4),
            algo.Enable(12),
            algo.Enable(99),
            algo.Disable(4),
            algo.Disable(12),
            algo.UnregisterCallback(),
            algo.RegisterCallback(cb),
            algo.Enable(6),
            algo.Disable(6),
            algo.Disable(3),
            algo.Disable(10),
            algo.CheckActiveAlgo() ? 1 : 0};
}

// The results of the sequence when the host runs it on its own thread, right after
// enabling `type`.
std::vector<int> ResultsFromHostThread(const LoadedPlugin& plugin, int type)
{
    IMotionAlgo* algo = plugin.Create();
    auto cb = std::make_shared<HookCallback>();
    algo->RegisterCallback(cb);
    algo->Enable(type);
    std::vector<int> results = RunEveryOperation(*algo, cb);
    plugin.Destroy(algo);
    return results;
}

// What the sequence gives when the host runs it from inside the first report of
// `type`, played in by `inject`; the object is destroyed afterwards.
struct FromReport {
    std::vector<int> results;
    bool ran = false;
    std::shared_ptr<HookCallback> callback = std::make_shared<HookCallback>();
};
FromReport ResultsFromReport(const LoadedPlugin& plugin, int type, void (*inject)(),
                             const char* what)
{
    FromReport out;
    IMotionAlgo* algo = plugin.Create();
    std::atomic<bool> ran{false};
    out.callback->hook = [&](const MotionData& data) {
        if (data.type == type && !ran.exchange(true)) {
            out.results = RunEveryOperation(*algo, out.callback);
        }
    };
    algo->RegisterCallback(out.callback);
    EXPECT_EQ(algo->Enable(type), 0);
    FinishesWithin(20, what, [&] {
        inject();
        EXPECT_TRUE(HostPlatform::WaitIdle());
        plugin.Destroy(algo);
    });
    out.callback->hook = nullptr;  // it refers to this frame
    out.ran = ran;
    return out;
}

TEST_F(ReentrancyStress, EveryOperationFromAReportMatchesTheHostThread)
{
    // A sensor report (flip) and a gesture report (swipe), each on its own worker.
    // Disabled from inside its first report, flip never reports its second; the
    // gesture pipeline stays up, so the swipe still ends.
    const struct {
        int type;
        void (*inject)();
        size_t reports;
    } cases[] = {{3, InjectFlip, 1}, {10, InjectSwipe, 2}};
    for (const auto& c : cases) {
        const std::vector<int> expected = ResultsFromHostThread(plugin_, c.type);
        const FromReport got = ResultsFromReport(plugin_, c.type, c.inject, "a report calling in");
        ASSERT_TRUE(got.ran) << c.type;
        EXPECT_EQ(got.results, expected) << c.type;
        EXPECT_EQ(got.callback->CountOf(c.type), c.reports) << c.type;
        ExpectPlatformClean();
    }
}

TEST_F(ReentrancyStress, DisableFromAnotherThreadStopsReportsWhenItReturns)
{
    for (int round = 0; round < 50; ++round) {
        IMotionAlgo* algo = plugin_.Create();
        auto cb = std::make_shared<HookCallback>();
        std::atomic<bool> disabled{false};
        std::atomic<int> late{0};
        cb->hook = [&](const MotionData& data) {
            if (data.type == 4 && disabled) {
                ++late;
            }
        };
        algo->RegisterCallback(cb);
        ASSERT_EQ(algo->Enable(4), 0);
        for (int i = 0; i < 200; ++i) {
            InjectRotation(i);
        }
        std::this_thread::yield();
        ASSERT_EQ(algo->Disable(4), 0);
        disabled = true;
        ASSERT_TRUE(HostPlatform::WaitIdle());
        plugin_.Destroy(algo);
        ASSERT_EQ(late, 0) << "round " << round;
    }
}

TEST_F(ReentrancyStress, DestroyFromInsideReportsOfBothWorkers)
{
    for (int type : {3, 10}) {
        IMotionAlgo* algo = plugin_.Create();
        auto cb = std::make_shared<HookCallback>();
        std::atomic<bool> destroyed{false};
        cb->hook = [&](const MotionData&) {
            if (!destroyed.exchange(true)) {
                plugin_.Destroy(algo);
            }
        };
        algo->RegisterCallback(cb);
        ASSERT_EQ(algo->Enable(type), 0);
        FinishesWithin(20, "Destroy from inside a report", [&] {
            type == 3 ? InjectFlip() : InjectSwipe();
            ASSERT_TRUE(HostPlatform::WaitIdle());
        });
        EXPECT_TRUE(destroyed);
        ExpectPlatformClean();
    }
}

// A host callback that notices being released while one of its calls still runs.
class GuardedCallback : public IMotionAlgo::Callback {
public:
    explicit GuardedCallback(std::atomic<int>& violations) : violations_(violations) {}
    ~GuardedCallback() override
    {
        if (inCall_.load() != 0) {
            ++violations_;
        }
    }
    int OnMotionChanged(const MotionData&) override
    {
        ++inCall_;
        std::this_thread::sleep_for(std::chrono::microseconds(200));
        --inCall_;
        return 0;
    }

private:
    std::atomic<int>& violations_;
    std::atomic<int> inCall_{0};
};

TEST_F(ReentrancyStress, CallbackHandoverWhileReportsFlow)
{
    std::atomic<int> violations{0};
    IMotionAlgo* algo = plugin_.Create();
    algo->RegisterCallback(std::make_shared<GuardedCallback>(violations));
    ASSERT_EQ(algo->Enable(4), 0);
    std::atomic<bool> stop{false};
    std::thread feeder([&] {
        for (int i = 0; !stop; ++i) {
            InjectRotation(i);
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    for (int swap = 0; swap < 300; ++swap) {
        // The manager drops its copy, takes a new callback, and the type is enabled
        // again: the recogniser's copy of the old one is the last.
        algo->UnregisterCallback();
        algo->RegisterCallback(std::make_shared<GuardedCallback>(violations));
        ASSERT_EQ(algo->Enable(4), 0);
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    stop = true;
    feeder.join();
    ASSERT_TRUE(HostPlatform::WaitIdle());
    plugin_.Destroy(algo);
    EXPECT_EQ(violations, 0);
}

TEST_F(ReentrancyStress, AnyOrderOfGestureCallsLeavesAWorkingOrStoppedPipeline)
{
    // Enable/Disable of gesture types in a fixed pseudo-random order, with the monitor
    // refused now and then; afterwards a swipe is reported exactly when a gesture is
    // enabled and the last subscription succeeded.
    uint32_t seed = 12345;
    auto next = [&seed] {
        seed = seed * 1103515245U + 12345U;
        return (seed >> 16) & 0x7fff;
    };
    for (int round = 0; round < 40; ++round) {
        IMotionAlgo* algo = plugin_.Create();
        auto cb = std::make_shared<HookCallback>();
        algo->RegisterCallback(cb);
        for (int step = 0; step < 8; ++step) {
            HostPlatform::SetMonitorId(next() % 4 == 0 ? -2 : 3);
            const int type = 9 + static_cast<int>(next() % 5);
            if (next() % 2 == 0) {
                algo->Enable(type);
            } else {
                algo->Disable(type);
            }
        }
        HostPlatform::SetMonitorId(3);
        const bool up = algo->Enable(10) == 0;
        InjectSwipe();
        ASSERT_TRUE(HostPlatform::WaitIdle()) << "round " << round;
        EXPECT_EQ(cb->CountOf(10), up ? 2U : 0U) << "round " << round;
        plugin_.Destroy(algo);
        ExpectPlatformClean();
    }
}

}  // namespace
}  // namespace Tarvo::Quil::Stress
