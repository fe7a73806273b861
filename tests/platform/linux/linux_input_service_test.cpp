// The input service without a usable touchscreen: monitors still install, and the
// problem is reported once, clearly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "input_manager.h"
#include "linux_platform.h"

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
        LinuxPlatform::SetInputDirectory("/dev/input");
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

    std::string dir_;
    std::vector<std::string> lines_;
};

TEST_F(LinuxInputServiceTest, AMissingNamedTouchscreenIsReportedOnce)
{
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
    std::ofstream(dir_ + "/event3") << "";
    std::filesystem::create_directory(dir_ + "/by-id");
    LinuxPlatform::SetInputDirectory(dir_);
    EXPECT_EQ(LinuxPlatform::FindTouchscreen(), "");
    AddAndRemoveTwice();
    ASSERT_THAT(lines_, SizeIs(1));
    EXPECT_THAT(lines_[0], HasSubstr("no touchscreen found in " + dir_));
}

}  // namespace
}  // namespace Tarvo::Linux
