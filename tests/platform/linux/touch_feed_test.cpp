// The live touch path without a device: evdev events through the decoder and the
// display mapping into the events the library's monitors get.
#include "touch_feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

#include "child_process.h"
#include "evemu_reader.h"
#include "line_reader.h"
#include "touch_recordings.h"
#include "trace_writer.h"

namespace Tarvo::Linux {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string kRecordings = QUIL_RECORDINGS_DIR;

struct Frame {
    uint16_t type;
    uint16_t code;
    int32_t value;
};

std::vector<TouchRecord> FeedAll(TouchFeed& feed, const std::vector<Frame>& events)
{
    std::vector<TouchRecord> out;
    for (const Frame& event : events) {
        feed.Feed(event.type, event.code, event.value, 0, out);
    }
    return out;
}

std::string Describe(const TouchRecord& touch)
{
    std::string ids;
    for (int32_t id : touch.pointerIds) {
        ids += (ids.empty() ? "" : ",") + std::to_string(id);
    }
    return std::to_string(touch.action) + " " + std::to_string(touch.pointerId) + " " +
           std::to_string(touch.x) + " " + std::to_string(touch.y) + " " + ids;
}

TEST(TouchFeedTest, FingersAreScaledFromThePanelOntoTheDisplay)
{
    TouchFeed feed(2, {0, 1000}, {0, 2000}, DisplaySize{1344, 2772});
    const std::vector<TouchRecord> touches = FeedAll(feed, {
                                                               {EV_ABS, ABS_MT_SLOT, 0},
                                                               {EV_ABS, ABS_MT_TRACKING_ID, 7},
                                                               {EV_ABS, ABS_MT_POSITION_X, 0},
                                                               {EV_ABS, ABS_MT_POSITION_Y, 2000},
                                                               {EV_SYN, SYN_REPORT, 0},
                                                               {EV_ABS, ABS_MT_SLOT, 1},
                                                               {EV_ABS, ABS_MT_TRACKING_ID, 8},
                                                               {EV_ABS, ABS_MT_POSITION_X, 1000},
                                                               {EV_ABS, ABS_MT_POSITION_Y, 0},
                                                               {EV_SYN, SYN_REPORT, 0},
                                                               {EV_ABS, ABS_MT_SLOT, 0},
                                                               {EV_ABS, ABS_MT_TRACKING_ID, -1},
                                                               {EV_SYN, SYN_REPORT, 0},
                                                           });
    std::vector<std::string> described;
    for (const TouchRecord& touch : touches) {
        described.push_back(Describe(touch));
    }
    EXPECT_THAT(described, ElementsAre("2 0 0 2771 0", "2 1 1343 0 0,1", "4 0 0 2771 0,1"));
}

TEST(TouchFeedTest, LostEventsAreAnnouncedAndFingersCanBeReleased)
{
    TouchFeed feed(1, {0, 100}, {0, 100}, DisplaySize{101, 101});
    std::vector<TouchRecord> out = FeedAll(feed, {{EV_ABS, ABS_MT_TRACKING_ID, 1},
                                                  {EV_ABS, ABS_MT_POSITION_X, 10},
                                                  {EV_ABS, ABS_MT_POSITION_Y, 20},
                                                  {EV_SYN, SYN_REPORT, 0}});
    ASSERT_THAT(out, SizeIs(1));
    out.clear();
    EXPECT_TRUE(feed.Feed(EV_SYN, SYN_DROPPED, 0, 0, out));
    EXPECT_FALSE(feed.Feed(EV_ABS, ABS_MT_POSITION_X, 30, 0, out));
    EXPECT_THAT(out, IsEmpty());

    feed.ReleaseAll(0, out);
    ASSERT_THAT(out, SizeIs(1));
    EXPECT_EQ(Describe(out[0]), "4 0 10 20 0");
}

// A real recording played through the live path, then into the plug-in (through
// quil-replay), recognises what the importer's replay of the same recording does. The
// recording is read, and the trace written, by the programs' own readers and writer.
class RecordingTest : public ::testing::TestWithParam<std::string> {
protected:
    // Calls `onAxis` and `onEvent` for the recording at `path`.
    static void Read(const std::string& path, const Import::AxisSink& onAxis,
                     const Import::EventSink& onEvent)
    {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"),
                                                             &std::fclose);
        ASSERT_NE(file, nullptr) << path;
        Tools::LineReader lines(path, file.get());
        std::string error;
        ASSERT_TRUE(Import::EvemuReader::Read(lines, onAxis, onEvent, error)) << error;
    }
};

TEST_P(RecordingTest, GivesTheReportsOfTheImportedRecording)
{
    const std::string name = GetParam();
    const std::string dir = kRecordings + "/touchscreens/";
    const std::string device = name.substr(0, name.find('.'));
    const std::string desc =
        name.find(".evemu") != std::string::npos ? dir + name : dir + device + ".desc";
    Input::AxisRange x{0, 0};
    Input::AxisRange y{0, 0};
    int slots = 1;
    Read(
        desc,
        [&](const std::string&, const Import::RawAxis& axis) {
            if (axis.code == ABS_MT_POSITION_X) {
                x = {axis.min, axis.max};
            } else if (axis.code == ABS_MT_POSITION_Y) {
                y = {axis.min, axis.max};
            } else if (axis.code == ABS_MT_SLOT) {
                slots = axis.max + 1;
            }
        },
        [](const std::string&, const Import::RawEvent&) {});
    TouchFeed feed(slots, x, y, DisplaySize{});
    std::vector<TouchRecord> touches;
    Read(
        dir + name, [](const std::string&, const Import::RawAxis&) {},
        [&](const std::string&, const Import::RawEvent& event) {
            feed.Feed(event.type, event.code, event.value, event.timeUs, touches);
        });
    ASSERT_THAT(touches, Not(IsEmpty()));

    const std::string trace = ::testing::TempDir() + "/live-" + name + ".trace";
    {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> out(std::fopen(trace.c_str(), "w"),
                                                            &std::fclose);
        ASSERT_NE(out, nullptr) << trace;
        Tools::TraceWriter writer(out.get());
        for (int32_t type : {9, 10, 11, 12, 13}) {
            writer.Enable(type);
        }
        // Stamped from the first touch: recordings keep the clock of the machine they
        // were made on.
        for (const TouchRecord& touch : touches) {
            writer.Touch(static_cast<double>(touch.timestampNs - touches[0].timestampNs) / 1e6,
                         touch.action, touch.pointerId, touch.x, touch.y, touch.pointerIds);
        }
        ASSERT_TRUE(writer.Ok());
    }
    const Tarvo::Test::ChildResult replay =
        Tarvo::Test::ChildProcess::Run({QUIL_REPLAY_PATH, trace});
    ASSERT_EQ(replay.exitCode, 0) << replay.err;

    std::ifstream expectedFile(kRecordings + "/expected/touchscreens/" + name + ".expected");
    std::ostringstream expected;
    expected << expectedFile.rdbuf();
    EXPECT_EQ(replay.out, expected.str());
}

INSTANTIATE_TEST_SUITE_P(Touchscreens, RecordingTest, Tarvo::Test::TouchRecordings(),
                         Tarvo::Test::RecordingName);

}  // namespace
}  // namespace Tarvo::Linux
