// quil-live as a user runs it, on emulated devices: what it enables and prints, how it
// stops, that its recording replays to the reports it printed, and that real touchscreen
// recordings played into an emulated touchscreen give what quil-import and quil-replay
// give for them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <thread>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "child_process.h"
#include "touch_recordings.h"
#include "umockdev_testbed.h"
#include "wait_until.h"

namespace Tarvo::Live {
namespace {

using Tarvo::Test::ChildProcess;
using Tarvo::Test::LinesStartingWith;
using Tarvo::Test::WaitUntil;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

// umockdev-run makes a testbed of its own: this process's must not reach the programs
// started from here on.
void LeaveTheTestbed()
{
    unsetenv("UMOCKDEV_DIR");
    unsetenv("LD_PRELOAD");
}

class QuilLiveTest : public ::testing::Test {
protected:
    std::string AddAccel(int n) { return testbed_.AddAccelerometer(n, 10, 20, 980); }
    // quil-live sees the testbed's devices: it inherits the preload library and the
    // testbed's directory.
    std::vector<std::string> Live(const std::vector<std::string>& args)
    {
        std::vector<std::string> argv = {QUIL_LIVE_PATH, "--touch-device",
                                         "/dev/input/no-touchscreen"};
        argv.insert(argv.end(), args.begin(), args.end());
        return argv;
    }
    // Waits until the child has printed `count` lines starting with `prefix`.
    static bool WaitForLines(const ChildProcess& child, const std::string& prefix, size_t count)
    {
        return WaitUntil([&] { return LinesStartingWith(child.Out(), prefix).size() >= count; });
    }

    Tarvo::Test::UmockdevTestbed testbed_;
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

    // A copy of a device's sysfs is read where it lies, not through udev.
    const std::string copy = testbed_.OnDisk("/sys");
    testbed_.Remove(testbed_.AddIio(5, {{"name", "als"}, {"in_illuminance_input", "1"}}));
    const Tarvo::Test::ChildResult copied =
        ChildProcess::Run(Live({"--sysfs-root", copy, "--duration", "0.2"}));
    ASSERT_EQ(copied.exitCode, 0) << copied.err;
    EXPECT_THAT(copied.err, HasSubstr("sensors: accelerometer; touchscreen: none"));
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
    // The values' own checks are the shared parser's tests.
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--duration", "-1"}, {"--record"}, {"--bogus"}}) {
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

// A FIFO where an attribute should be neither holds up the start nor the stop: the
// device is reported and passed over, the run keeps its time.
TEST_F(QuilLiveTest, AFifoInTheTreeIsPassedOverAndTheRunKeepsItsTime)
{
    AddAccel(1);
    const std::string fifo = testbed_.AddIio(0, {{"name", "fifo"},
                                                 {"in_accel_x_raw", "0"},
                                                 {"in_accel_y_raw", "0"},
                                                 {"in_accel_z_raw", "1"}});
    ASSERT_EQ(mkfifo((testbed_.OnDisk(fifo) + "/in_accel_scale").c_str(), 0644), 0);
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
    const std::string accel = AddAccel(0);
    const std::string trace = ::testing::TempDir() + "/quil-live-flip.trace";
    ChildProcess child;
    ASSERT_TRUE(child.Start(Live({"--enable", "3,4", "--record", trace})));
    ASSERT_TRUE(WaitForLines(child, "enable 4 -> 0", 1));
    const auto hold = [&](int x, int y, int z) {
        testbed_.SetAccel(accel, x, y, z);
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

// The committed descriptions of tests/data/umockdev, as anyone runs a program on them:
// a phone's three sensors and a touchscreen, everything enabled.
TEST_F(QuilLiveTest, UnderUmockdevRunTheCommittedDevicesAreAPhone)
{
    using Tarvo::Test::UmockdevTestbed;
    const std::string data = UmockdevTestbed::DataDirectory() + "/";
    LeaveTheTestbed();
    const Tarvo::Test::ChildResult run = ChildProcess::Run(
        {QUIL_UMOCKDEV_RUN, "-d", data + "sensors.umockdev", "-d", data + "EP0430M09.umockdev",
         "-i", "/dev/input/event3=" + data + "EP0430M09.ioctl", "--", QUIL_LIVE_PATH, "--duration",
         "0.5"});
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("quil-live: sensors: accelerometer, light, proximity; "
                                   "touchscreen: /dev/input/event3; enabling "
                                   "0,2,3,4,6,7,9,10,11,12,13\n"));
    EXPECT_EQ(LinesStartingWith(run.out, "enable").size(), 11u);
    EXPECT_THAT(LinesStartingWith(run.out, "enable"), Each(::testing::EndsWith("-> 0")));
}

// A real recording played into an emulated touchscreen, as umockdev-run plays it for
// anyone (the descriptions in tests/data/umockdev), read by quil-live through udev and
// libevdev, recognised by the plug-in: the very reports quil-import and quil-replay
// give for the same recording.
class RecordingTest : public ::testing::TestWithParam<std::string> {
protected:
    static std::string Recordings() { return std::string(QUIL_RECORDINGS_DIR) + "/touchscreens/"; }
    // The recording's length in seconds, from its first event's stamp to its last.
    static double Length(const std::string& file)
    {
        std::ifstream in(file);
        double first = -1;
        double last = 0;
        for (std::string line; std::getline(in, line);) {
            if (line.rfind("E: ", 0) == 0) {
                last = std::stod(line.substr(3));
                first = first < 0 ? last : first;
            }
        }
        return last - first;
    }
    // The touch records of a trace, without their time stamps.
    static std::vector<std::string> Touches(const std::string& trace)
    {
        std::vector<std::string> touches;
        std::istringstream in(trace);
        for (std::string line; std::getline(in, line);) {
            const size_t at = line.find("touch ");
            if (at != std::string::npos && line[0] != '#') {
                touches.push_back(line.substr(at));
            }
        }
        return touches;
    }
    static std::string ReadFile(const std::string& path)
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }
    static std::string Reports(const std::string& output)
    {
        std::string text;
        for (const std::string& line : LinesStartingWith(output, "report")) {
            text += line + "\n";
        }
        return text;
    }
};

TEST_P(RecordingTest, GivesWhatTheImportedRecordingReplaysTo)
{
    const std::string recording = GetParam();
    const std::string panel = recording.substr(0, recording.find('.'));
    const bool whole = recording.find(".evemu") != std::string::npos;
    const std::string events = Recordings() + recording;

    // The reference: the recording imported and replayed on the host build.
    const std::string trace = ::testing::TempDir() + "/" + recording + ".trace";
    std::vector<std::string> import = {QUIL_IMPORT_PATH, "--enable", "9,10,11,12,13"};
    if (!whole) {
        import.push_back(Recordings() + panel + ".desc");
    }
    import.push_back(events);
    const Tarvo::Test::ChildResult imported = ChildProcess::Run(import);
    ASSERT_EQ(imported.exitCode, 0) << imported.err;
    std::ofstream(trace) << imported.out;
    const Tarvo::Test::ChildResult replayed = ChildProcess::Run({QUIL_REPLAY_PATH, trace});
    ASSERT_EQ(replayed.exitCode, 0) << replayed.err;

    LeaveTheTestbed();
    using Tarvo::Test::UmockdevTestbed;
    const std::string data = UmockdevTestbed::DataDirectory() + "/" + panel;
    const std::string node = UmockdevTestbed::TouchscreenNode(panel);
    const std::string recorded = ::testing::TempDir() + "/" + recording + ".live.trace";
    ChildProcess live;
    ASSERT_TRUE(
        live.Start({QUIL_UMOCKDEV_RUN, "-d", data + ".umockdev", "-i", node + "=" + data + ".ioctl",
                    "-e", node + "=" + UmockdevTestbed::EventsOnly(events), "--", QUIL_LIVE_PATH,
                    "--enable", "9,10,11,12,13", "--record", recorded, "--log", "info"}));
    // Played in real time from when quil-live opens the node (which the layer says at
    // info level): wait that long, and a margin, then for as many reports as the replay
    // gave and as many touches recorded as were imported (a loaded machine plays late).
    ASSERT_TRUE(
        WaitUntil([&] { return live.Err().find("touch from " + node) != std::string::npos; },
                  std::chrono::seconds(30)))
        << live.Err();
    const size_t expected = LinesStartingWith(replayed.out, "report").size();
    const size_t touches = Touches(imported.out).size();
    const auto played = std::chrono::steady_clock::now() +
                        std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                            std::chrono::duration<double>(Length(events) + 1.0));
    EXPECT_TRUE(WaitUntil(
        [&] {
            return std::chrono::steady_clock::now() > played &&
                   LinesStartingWith(live.Out(), "report").size() >= expected &&
                   Touches(ReadFile(recorded)).size() >= touches;
        },
        std::chrono::seconds(30)));
    live.Signal(SIGINT);
    const Tarvo::Test::ChildResult run = live.Wait();
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("touchscreen: " + node));
    EXPECT_EQ(Reports(run.out), Reports(replayed.out)) << run.err;
    // Most recordings give no report at all; the touches the plug-in was handed tell
    // more: the very ones the importer made of the recording.
    EXPECT_EQ(Touches(ReadFile(recorded)), Touches(imported.out));
}

INSTANTIATE_TEST_SUITE_P(Touchscreens, RecordingTest, Tarvo::Test::TouchRecordings(),
                         Tarvo::Test::RecordingName);

}  // namespace
}  // namespace Tarvo::Live
