// The input service finding its touchscreen among the event nodes udev knows, and
// without a usable one: monitors still install, and the problem is reported once,
// clearly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "input_manager.h"
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
        LinuxPlatform::SetLogSink([this](int, const std::string& line) { lines_.push_back(line); });
    }
    void TearDown() override
    {
        LinuxPlatform::SetLogSink({});
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
    // An event node that is no evdev device at all: its ioctls are not answered.
    void AddMute(int n)
    {
        const std::string number = std::to_string(n);
        testbed_.AddDescription("P: /devices/virtual/input/input" + number + "/event" + number +
                                "\nN: input/event" + number + "\nE: DEVNAME=/dev/input/event" +
                                number + "\nE: SUBSYSTEM=input\n");
    }

    Tarvo::Test::UmockdevTestbed testbed_;
    std::string dir_;
    std::vector<std::string> lines_;
};

TEST_F(LinuxInputServiceTest, TheFirstTouchscreenUdevKnowsIsUsed)
{
    AddMute(1);
    testbed_.AddTouchscreen("Wacom-ISDv4-E6-Finger");  // event4
    testbed_.AddTouchscreen("EP0430M09");              // event3
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "/dev/input/event3");
    AddAndRemoveTwice();
    EXPECT_THAT(lines_, ::testing::IsEmpty());
}

TEST_F(LinuxInputServiceTest, AMissingNamedTouchscreenIsReportedOnce)
{
    testbed_.AddTouchscreen("EP0430M09");  // not the one named
    LinuxPlatform::SetTouchDevice(dir_ + "/event7");
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "");
    AddAndRemoveTwice();
    ASSERT_THAT(lines_, SizeIs(1));
    EXPECT_THAT(lines_[0], HasSubstr("E D002211/LinuxPlatform: cannot open " + dir_ +
                                     "/event7: No such file or directory"));
}

TEST_F(LinuxInputServiceTest, AFileThatIsNoInputDeviceIsNamedAsSuch)
{
    const std::string file = dir_ + "/event0";
    std::ofstream(file) << "not an input device";
    LinuxPlatform::SetTouchDevice(file);
    AddAndRemoveTwice();
    ASSERT_THAT(lines_, SizeIs(1));
    EXPECT_THAT(lines_[0], HasSubstr(file + " is no evdev device"));
}

TEST_F(LinuxInputServiceTest, ASearchThatFindsNothingSaysWhereItLooked)
{
    AddMute(2);
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "");
    AddAndRemoveTwice();
    ASSERT_THAT(lines_, SizeIs(1));
    EXPECT_THAT(lines_[0], HasSubstr("no touchscreen found in /dev/input"));
}

}  // namespace
}  // namespace Tarvo::Linux
