#include "pointer_input_connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <mutex>

#include "host_platform.h"
#include "log_capture.h"

namespace Tarvo::Quil::Test {
namespace {

using Host::HostPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kTag[] = "PointerInputConnection";

// Collects what the subscriber receives, as "id/action@x,y#count".
struct Delivered {
    std::mutex mutex;
    std::vector<std::string> events;

    std::function<void(PointerEvent)> Subscriber()
    {
        return [this](PointerEvent event) {
            std::lock_guard<std::mutex> lock(mutex);
            events.push_back(std::to_string(event.pointerId) + "/" +
                             std::to_string(event.pointerAction) + "@" + std::to_string(event.x) +
                             "," + std::to_string(event.y) + "#" +
                             std::to_string(event.pointerIds.size()));
        };
    }
};

class PointerInputConnectionTest : public testing::Test {
protected:
    void SetUp() override { HostPlatform::Reset(); }
    void TearDown() override { HostPlatform::Reset(); }

    Delivered delivered_;
};

TEST_F(PointerInputConnectionTest, RecordsBeforeSubscriptionWaitAndArriveOneBehind)
{
    PointerInputConnection connection;
    ASSERT_EQ(connection.SubscribePointerInput(), 0);
    HostPlatform::InjectTouch(2, 0, 1, 1, {0});
    HostPlatform::InjectTouch(3, 0, 2, 2, {0});
    ASSERT_TRUE(HostPlatform::WaitIdle());

    connection.SubscribePointerEvent(delivered_.Subscriber());
    HostPlatform::InjectTouch(4, 0, 3, 3, {0});
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_THAT(delivered_.events, ElementsAre("0/2@1,1#1"));  // the lag is accepted
}

TEST_F(PointerInputConnectionTest, UnsubscribingRemovesTheMonitor)
{
    auto connection = std::make_unique<PointerInputConnection>();
    connection->SubscribePointerEvent(delivered_.Subscriber());
    ASSERT_EQ(connection->SubscribePointerInput(), 0);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 1);
    EXPECT_EQ(connection->UnsubscribePointerInput(), 0);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 0);
    HostPlatform::InjectTouch(2, 0, 1, 1, {0});
    ASSERT_TRUE(HostPlatform::WaitIdle());
    connection.reset();  // joins the parked worker
    EXPECT_THAT(delivered_.events, IsEmpty());
}

TEST_F(PointerInputConnectionTest, DestroyingAnUnsubscribedConnectionIsSafe)
{
    {
        PointerInputConnection neverStarted;
    }
    HostPlatform::SetThreadNamingFails(true);
    LogCapture log;
    {
        PointerInputConnection connection;
        ASSERT_EQ(connection.SubscribePointerInput(), 0);
        ASSERT_TRUE(HostPlatform::WaitIdle());
    }
    EXPECT_TRUE(log.Contains(
        kTag, "in AlgorithmLoop, SetThreadName std::string(\"os_mot_poi_con\") failed"));
}

}  // namespace
}  // namespace Tarvo::Quil::Test
