// The input service finding its touchscreen among the event nodes udev knows, and
// without a usable one: monitors still install, and the problem is reported once,
// clearly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "input_manager.h"
#include "layer_observers.h"
#include "linux_platform.h"
#include "umockdev_testbed.h"

namespace Tarvo::Linux {
namespace {

using ::testing::HasSubstr;
using ::testing::SizeIs;

class LinuxInputServiceTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char dir[] = "/tmp/quil-input-XXXXXX";
        dir_ = mkdtemp(dir);
    }
    void TearDown() override
    {
        LinuxPlatform::SetTouchDevice("");
        std::filesystem::remove_all(dir_);
    }
    // Adds and removes a monitor twice, as enabling a gesture twice does.
    void AddAndRemoveTwice()
    {
        for (int i = 0; i < 2; ++i) {
            const int32_t id = MMI::InputManager::GetInstance()->AddMonitor([](auto) {});
            EXPECT_GT(id, 0);
            MMI::InputManager::GetInstance()->RemoveMonitor(id);
        }
    }
    // An event node that is no evdev device at all: its ioctls are not answered. With
    // `properties`, udev says what it is.
    void AddMute(int n, const std::string& properties = "")
    {
        const std::string number = std::to_string(n);
        testbed_.AddDescription("P: /devices/virtual/input/input" + number + "/event" + number +
                                "\nN: input/event" + number + "\nE: DEVNAME=/dev/input/event" +
                                number + "\nE: SUBSYSTEM=input\n" + properties);
    }

    Tarvo::Test::UmockdevTestbed testbed_;
    std::string dir_;
    Linux::Test::LogLines log_;
};

TEST_F(LinuxInputServiceTest, TheFirstTouchscreenUdevKnowsIsUsed)
{
    AddMute(1);
    testbed_.AddTouchscreen("Wacom-ISDv4-E6-Finger");  // event4
    testbed_.AddTouchscreen("EP0430M09");              // event3
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "/dev/input/event3");
    AddAndRemoveTwice();
    EXPECT_THAT(log_.All(), ::testing::IsEmpty());
}

// What udev says a node is counts: the search opens only nodes udev has not classified,
// and the reader finds out when it opens one that is not what udev said.
TEST_F(LinuxInputServiceTest, WhatUdevSaysOfANodeCounts)
{
    AddMute(1, "E: ID_INPUT=1\nE: ID_INPUT_KEY=1\n");
    AddMute(2, "E: ID_INPUT=1\nE: ID_INPUT_TOUCHSCREEN=1\n");
    testbed_.AddTouchscreen("EP0430M09");  // event3, after it
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "/dev/input/event2");
    EXPECT_THAT(log_.All(), ::testing::IsEmpty());
    const int32_t id = MMI::InputManager::GetInstance()->AddMonitor([](auto) {});
    // The reader opens it, on its own thread.
    EXPECT_TRUE(Linux::Test::WaitUntil([this] { return !log_.All().empty(); }));
    MMI::InputManager::GetInstance()->RemoveMonitor(id);
    ASSERT_THAT(log_.All(), SizeIs(1));
    EXPECT_THAT(log_.All()[0], HasSubstr("/dev/input/event2 is no evdev device"));
}

// Each problem is told once, however often monitors come and go; a touchscreen other
// than the one named is not taken instead.
TEST_F(LinuxInputServiceTest, WithoutAUsableTouchscreenTheProblemIsReportedOnce)
{
    const std::string file = dir_ + "/event0";
    std::ofstream(file) << "not an input device";
    const std::string missing = dir_ + "/event7";
    const struct {
        std::string named;  // none: the first touchscreen found
        std::string message;
    } cases[] = {
        {"", "no touchscreen found in /dev/input"},
        {missing,
         "E D002211/LinuxPlatform: cannot open " + missing + ": No such file or directory"},
        {file, file + " is no evdev device"},
    };
    AddMute(2);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        LinuxPlatform::SetTouchDevice(c.named);
        if (c.named != file) {
            EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "");
        }
        const size_t before = log_.All().size();
        AddAndRemoveTwice();
        ASSERT_THAT(log_.All(), SizeIs(before + 1));
        EXPECT_THAT(log_.All().back(), HasSubstr(c.message));
        testbed_.AddTouchscreen("EP0430M09", 3 + static_cast<int>(before));
    }
}

}  // namespace
}  // namespace Tarvo::Linux
