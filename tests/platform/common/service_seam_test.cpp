// What every platform layer's services share, tested once: monitor ids, the
// subscription rules, and the wait that lets a client go only when no delivery can be
// inside it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "delivery_gate.h"
#include "monitor_registry.h"
#include "subscription_table.h"

namespace Tarvo::Platform {
namespace {

using ::testing::ElementsAre;

TEST(MonitorRegistryTest, IdsFromOneEmptyMonitorsRefusedUnknownIdsIgnored)
{
    MonitorRegistry monitors;
    const MMI::PointerMonitor monitor = [](std::shared_ptr<MMI::PointerEvent>) {};
    EXPECT_EQ(monitors.Add(monitor), 1);
    EXPECT_EQ(monitors.Add(MMI::PointerMonitor()), -1);
    EXPECT_EQ(monitors.Add(monitor), 2);
    EXPECT_FALSE(monitors.Remove(42));
    monitors.FixId(7);
    EXPECT_EQ(monitors.Add(monitor), 7);
    monitors.FixId(-3);  // a negative id: not installed
    EXPECT_EQ(monitors.Add(monitor), -3);
    EXPECT_EQ(monitors.Count(), 3U);
    EXPECT_TRUE(monitors.Remove(1));
    monitors.Clear();
    EXPECT_EQ(monitors.Add(monitor), 1);
}

TEST(SubscriptionTableTest, TheRulesEveryServiceKeeps)
{
    SubscriptionTable table;
    const SensorUser a{};
    const SensorUser b{};
    EXPECT_FALSE(table.SetBatch(&a, 1, 5, 5));  // not subscribed
    EXPECT_FALSE(table.Activate(&a, 1));
    table.Subscribe(&a, 1);
    EXPECT_FALSE(table.Deactivate(&a, 1));  // not active
    EXPECT_TRUE(table.SetBatch(&a, 1, 50, 60));
    EXPECT_TRUE(table.Activate(&a, 1));
    EXPECT_TRUE(table.Activate(&a, 1));  // again: fine
    table.Subscribe(&b, 1);
    table.SetBatch(&b, 1, 20, 20);
    table.Activate(&b, 1);
    table.Subscribe(&b, 12);
    EXPECT_EQ(table.FastestInterval(1), 20);
    std::vector<const SensorUser*> users;
    table.Recipients(1, users);
    EXPECT_EQ(users.size(), 2U);
    table.Recipients(std::nullopt, users);  // subscribed but inactive sensors count for none
    EXPECT_EQ(users.size(), 2U);
    EXPECT_THAT(table.ActiveSensors(), ElementsAre(1));
    EXPECT_TRUE(table.Unsubscribe(&a, 1));  // the activation ends with it
    EXPECT_EQ(table.ActiveCount(1), 1);
    EXPECT_FALSE(table.Unsubscribe(&a, 1));
    EXPECT_EQ(table.Get(&b, 1).reportInterval, 20);
}

TEST(DeliveryGateTest, LeavingWaitsOutADeliveryExceptOnTheDeliveringThread)
{
    std::mutex mutex;
    DeliveryGate gate;
    std::atomic<bool> delivered{false};
    std::unique_lock<std::mutex> lock(mutex);
    gate.Begin();
    gate.WaitOut(lock);  // a client leaving from inside its own call does not wait
    std::thread deliverer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        std::lock_guard<std::mutex> hold(mutex);
        delivered = true;
        gate.End();
    });
    // Another thread's delivery: the wait ends only when it is over.
    std::thread leaver([&] {
        std::unique_lock<std::mutex> other(mutex);
        gate.WaitOut(other);
        EXPECT_TRUE(delivered);
    });
    lock.unlock();
    leaver.join();
    deliverer.join();
}

}  // namespace
}  // namespace Tarvo::Platform
