// quil-live as a user runs it, on a fake sysfs tree: what it enables and prints, how it
// stops, and that its recording replays to the reports it printed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "child_process.h"
#include "fake_iio_tree.h"

namespace Tarvo::Live {
namespace {

using Tarvo::Test::ChildProcess;
using Tarvo::Test::LinesStartingWith;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class QuilLiveTest : public ::testing::Test {
protected:
    void AddAccel(int n)
    {
        tree_.AddDevice(n, "accel");
        tree_.Write(n, "in_accel_scale", "0.01");
        tree_.Accel(n, 10, 20, 980);
    }
    std::vector<std::string> Live(const std::vector<std::string>& args)
    {
        std::vector<std::string> argv = {QUIL_LIVE_PATH, "--sysfs-root", tree_.Root(),
                                         "--touch-device", tree_.Root() + "/no-touchscreen"};
        argv.insert(argv.end(), args.begin(), args.end());
        return argv;
    }
    // Waits until the child has printed `count` lines starting with `prefix`.
    static bool WaitForLines(const ChildProcess& child, const std::string& prefix, size_t count)
    {
        for (int i = 0; i < 500; ++i) {
            if (LinesStartingWith(child.Out(), prefix).size() >= count) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    Tarvo::Test::FakeIioTree tree_;
};

TEST_F(QuilLiveTest, ByDefaultEnablesWhatTheSensorsAllow)
{
    AddAccel(0);
    const Tarvo::Test::ChildResult run = ChildProcess::Run(Live({"--duration", "0.2"}));
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(LinesStartingWith(run.out, "enable"),
                ElementsAre("enable 0 -> 0", "enable 3 -> 0", "enable 4 -> 0", "enable 6 -> 0"));
    EXPECT_THAT(
        LinesStartingWith(run.out, "disable"),
        ElementsAre("disable 0 -> 0", "disable 3 -> 0", "disable 4 -> 0", "disable 6 -> 0"));
    EXPECT_THAT(run.err, HasSubstr("sensors: accelerometer; touchscreen: none"));
}

TEST_F(QuilLiveTest, NothingToRecogniseIsAFailure)
{
    const Tarvo::Test::ChildResult run = ChildProcess::Run(Live({}));
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_THAT(run.err, HasSubstr("nothing to recognise"));
    EXPECT_THAT(run.err, HasSubstr("no-touchscreen is not a touchscreen"));
}

TEST_F(QuilLiveTest, UsageErrorsExitWithTwo)
{
    for (const std::vector<std::string>& args : {std::vector<std::string>{"--display", "1080"},
                                                 {"--enable", "3,"},
                                                 {"--log", "loud"},
                                                 {"--duration", "-1"},
                                                 {"--record"},
                                                 {"--bogus"}}) {
        const Tarvo::Test::ChildResult run = ChildProcess::Run(Live(args));
        EXPECT_EQ(run.exitCode, 2) << args[0];
        EXPECT_THAT(run.err, HasSubstr("(try --help)")) << args[0];
        EXPECT_EQ(run.out, "") << args[0];
    }
}

TEST_F(QuilLiveTest, SigtermStopsCleanlyWithEverythingDisabled)
{
    AddAccel(0);
    ChildProcess child;
    ASSERT_TRUE(child.Start(Live({"--enable", "4", "--json"})));
    ASSERT_TRUE(WaitForLines(child, "{\"t\":", 1));
    child.Signal(SIGTERM);
    const Tarvo::Test::ChildResult run = child.Wait();
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\"call\":\"disable\",\"arg\":4,\"result\":0}"));
}

TEST_F(QuilLiveTest, AVanishingSensorIsReportedAndTheRunGoesOn)
{
    AddAccel(0);
    ChildProcess child;
    ASSERT_TRUE(child.Start(Live({"--enable", "3"})));
    ASSERT_TRUE(WaitForLines(child, "enable 3 -> 0", 1));
    std::this_thread::sleep_for(std::chrono::milliseconds(250));
    tree_.Remove(0);
    std::this_thread::sleep_for(std::chrono::milliseconds(350));
    child.Signal(SIGINT);
    const Tarvo::Test::ChildResult run = child.Wait();
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(LinesStartingWith(run.err, "E D002211/LinuxPlatform").size(), 1u) << run.err;
    EXPECT_THAT(run.err, HasSubstr("accelerometer iio:device0 (accel) stopped delivering"));
}

// A FIFO where an attribute should be neither holds up the start nor the stop: the
// device is reported and passed over, the run keeps its time.
TEST_F(QuilLiveTest, AFifoInTheTreeIsPassedOverAndTheRunKeepsItsTime)
{
    AddAccel(1);
    tree_.AddDevice(0, "fifo");
    tree_.Accel(0, 0, 0, 1);
    ASSERT_EQ(mkfifo(tree_.Attribute(0, "in_accel_scale").c_str(), 0644), 0);
    const Tarvo::Test::ChildResult run =
        ChildProcess::Run(Live({"--enable", "3", "--duration", "0.3"}), 10000);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("iio:device0/in_accel_scale: not a regular file"));
    EXPECT_THAT(run.out, HasSubstr("disable 3 -> 0"));
}

// Asked to stop before it has started anything, it ends at once, by the signal.
TEST_F(QuilLiveTest, AStopDuringTheStartEndsItAtOnce)
{
    AddAccel(0);
    for (int signal : {SIGTERM, SIGINT}) {
        ChildProcess child;
        ASSERT_TRUE(child.Start(Live({"--enable", "3"})));
        child.Signal(signal);
        const Tarvo::Test::ChildResult run = child.Wait(10000);
        EXPECT_TRUE(run.signal == signal || run.exitCode == 0)
            << "exit " << run.exitCode << ", signal " << run.signal << "\n"
            << run.err;
    }
}

// The device is flipped face down while quil-live records; the recording, replayed,
// gives the very reports the live run printed.
TEST_F(QuilLiveTest, TheRecordingReplaysToTheSameReports)
{
    AddAccel(0);
    const std::string trace = ::testing::TempDir() + "/quil-live-flip.trace";
    ChildProcess child;
    ASSERT_TRUE(child.Start(Live({"--enable", "3,4", "--record", trace})));
    ASSERT_TRUE(WaitForLines(child, "enable 4 -> 0", 1));
    const auto hold = [this](int x, int y, int z) {
        tree_.Accel(0, x, y, z);
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
    };
    hold(10, 20, 980);
    hold(690, 20, 690);
    hold(10, 20, 980);
    hold(10, 20, -980);
    hold(10, 980, 20);
    child.Signal(SIGINT);
    const Tarvo::Test::ChildResult live = child.Wait();
    ASSERT_EQ(live.exitCode, 0) << live.err;
    const std::vector<std::string> reports = LinesStartingWith(live.out, "report");
    EXPECT_THAT(reports, Contains(HasSubstr("report type:3 result:1")));
    EXPECT_THAT(reports, Contains(HasSubstr("report type:4 ")));

    const Tarvo::Test::ChildResult replay = ChildProcess::Run({QUIL_REPLAY_PATH, trace});
    ASSERT_EQ(replay.exitCode, 0) << replay.err;
    // Each type in its own order: the two threads of a live run may interleave types.
    for (const char* type : {"report type:3 ", "report type:4 "}) {
        EXPECT_EQ(LinesStartingWith(replay.out, type), LinesStartingWith(live.out, type)) << type;
    }
    EXPECT_EQ(LinesStartingWith(replay.out, "disable"), LinesStartingWith(live.out, "disable"));
}

}  // namespace
}  // namespace Tarvo::Live
