#include "motion_algo_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host_platform.h"
#include "motion_matchers.h"
#include "recording_callback.h"

namespace Tarvo::Quil::Test {
namespace {

using Host::HostPlatform;
using Host::SensorCall;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kAcc = 1;
constexpr int kLight = 5;
constexpr int kProx = 12;

class MotionAlgoManagerTest : public testing::Test {
protected:
    void SetUp() override
    {
        HostPlatform::Reset();
        manager_ = std::make_unique<MotionAlgoManager>();
        manager_->RegisterCallback(callback_);
    }

    void TearDown() override
    {
        manager_.reset();
        HostPlatform::Reset();
    }

    void Acc(float x, float y, float z)
    {
        HostPlatform::InjectSample(kAcc, {x, y, z});
        ASSERT_TRUE(HostPlatform::WaitIdle());
    }

    std::shared_ptr<RecordingCallback> callback_ = std::make_shared<RecordingCallback>();
    std::unique_ptr<MotionAlgoManager> manager_;
};

TEST_F(MotionAlgoManagerTest, AnswersWhichTypesItSupports)
{
    for (int type : {0, 2, 3, 4, 6, 7, 9, 10, 11, 12, 13}) {
        EXPECT_TRUE(manager_->IsSupportType(type)) << type;
    }
    for (int type : {-1, 1, 5, 8, 14, 99}) {
        EXPECT_FALSE(manager_->IsSupportType(type)) << type;
    }
    EXPECT_EQ(manager_->DisableCount(3), 0);
}

TEST_F(MotionAlgoManagerTest, ReportsGoToTheFirstRegisteredCallback)
{
    auto second = std::make_shared<RecordingCallback>();
    manager_->RegisterCallback(second);
    ASSERT_EQ(manager_->Enable(6), 0);
    Acc(30.0F, 0.0F, 0.0F);
    EXPECT_THAT(callback_->Reports(), ElementsAre(IsReport(6, 1)));
    EXPECT_THAT(second->Reports(), IsEmpty());
    EXPECT_EQ(manager_->Disable(6), 0);
}

// Flip, near-ear and pocket share the accelerometer; the last two the proximity sensor.
TEST_F(MotionAlgoManagerTest, SharedSensorsStaySubscribedUntilTheirLastUserIsDisabled)
{
    for (int type : {3, 2, 7}) {
        ASSERT_EQ(manager_->Enable(type), 0);
    }
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kAcc), 1);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kLight), 1);
    ASSERT_EQ(manager_->Disable(2), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kProx), 1);  // pocket still uses it
    ASSERT_EQ(manager_->Disable(7), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kProx), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kLight), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kAcc), 1);  // flip still uses it
    ASSERT_EQ(manager_->Disable(3), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kAcc), 0);
    EXPECT_TRUE(manager_->CheckActiveAlgo());
}

TEST_F(MotionAlgoManagerTest, UnknownTypesFailAndDisablingWhatIsOffSucceeds)
{
    EXPECT_EQ(manager_->Enable(1), -1);
    EXPECT_EQ(manager_->Enable(99), -1);
    EXPECT_TRUE(manager_->CheckActiveAlgo());
    EXPECT_EQ(manager_->Disable(3), 0);
    EXPECT_EQ(manager_->Disable(11), -1);  // no gesture pipeline yet
}

TEST_F(MotionAlgoManagerTest, EnablingTwiceCountsTwiceAndOneDisableUnsubscribes)
{
    ASSERT_EQ(manager_->Enable(6), 0);
    ASSERT_EQ(manager_->Enable(6), 0);
    EXPECT_FALSE(manager_->CheckActiveAlgo());
    ASSERT_EQ(manager_->Disable(6), 0);
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kAcc), 0);
    EXPECT_FALSE(manager_->CheckActiveAlgo());  // one entry of the two is left
    ASSERT_EQ(manager_->Disable(6), 0);
    EXPECT_TRUE(manager_->CheckActiveAlgo());
}

TEST_F(MotionAlgoManagerTest, PlatformFailuresAreNotRolledBack)
{
    HostPlatform::SetDeviceSensors({1, 5});
    EXPECT_EQ(manager_->Enable(2), -1);                       // proximity is missing
    EXPECT_EQ(HostPlatform::ActiveSubscriberCount(kAcc), 1);  // handled before the failure
    EXPECT_TRUE(manager_->CheckActiveAlgo());

    HostPlatform::Fail(SensorCall::ACTIVATE_SENSOR, kAcc);
    EXPECT_EQ(manager_->Enable(4), 0);  // acc is counted as subscribed already
    EXPECT_EQ(manager_->Disable(2), 0);

    HostPlatform::Fail(SensorCall::DEACTIVATE_SENSOR, std::nullopt);
    EXPECT_EQ(manager_->Disable(4), -1);
}

TEST_F(MotionAlgoManagerTest, GesturePipelineStaysUpOnceEnabled)
{
    ASSERT_EQ(manager_->Enable(9), 0);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 1);
    ASSERT_EQ(manager_->Enable(12), 0);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 1);  // one subscription for all
    ASSERT_EQ(manager_->Disable(9), 0);
    ASSERT_EQ(manager_->Disable(12), 0);
    EXPECT_EQ(HostPlatform::InstalledMonitorCount(), 1);
    EXPECT_FALSE(manager_->CheckActiveAlgo());  // the deliberate double decrement
}

TEST_F(MotionAlgoManagerTest, DestroyWithoutDisableLeavesNothingCallingIn)
{
    ASSERT_EQ(manager_->Enable(6), 0);
    ASSERT_EQ(manager_->Enable(9), 0);
    manager_.reset();
    Acc(30.0F, 0.0F, 0.0F);
    HostPlatform::InjectTouch(2, 0, 50, 1000, {0});
    ASSERT_TRUE(HostPlatform::WaitIdle());
    EXPECT_THAT(callback_->Reports(), IsEmpty());
}

TEST_F(MotionAlgoManagerTest, UnregisteredCallbackIsNotHandedToLaterTypes)
{
    manager_->UnregisterCallback();
    ASSERT_EQ(manager_->Enable(6), 0);
    Acc(30.0F, 0.0F, 0.0F);
    EXPECT_THAT(callback_->Reports(), IsEmpty());
    manager_->Disable(6);
}

}  // namespace
}  // namespace Tarvo::Quil::Test
