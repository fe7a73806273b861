#include "motion_algo_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host_platform.h"
#include "motion_matchers.h"
#include "recording_callback.h"

namespace Tarvo::Quil::Test {
namespace {

using Host::HostPlatform;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int kAcc = 1;

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

}  // namespace
}  // namespace Tarvo::Quil::Test
