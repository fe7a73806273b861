// The live touch path without a device: evdev events through the decoder and the
// display mapping into the events the library's monitors get.
#include "touch_feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input.h>

#include <fstream>
#include <sstream>

#include "child_process.h"

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
// quil-replay), recognises what the importer's replay of the same recording does.
class RecordingTest : public ::testing::TestWithParam<std::string> {
protected:
    // Axis ranges and slots from an evemu description ("A: code min max ...").
    static TouchFeed FeedFor(const std::string& descFile)
    {
        std::ifstream in(descFile);
        Input::AxisRange x{0, 0};
        Input::AxisRange y{0, 0};
        int slots = 1;
        for (std::string line; std::getline(in, line);) {
            std::istringstream fields(line);
            std::string tag;
            unsigned code = 0;
            int32_t min = 0;
            int32_t max = 0;
            if (!(fields >> tag >> std::hex >> code >> std::dec >> min >> max) || tag != "A:") {
                continue;
            }
            if (code == ABS_MT_POSITION_X) {
                x = {min, max};
            } else if (code == ABS_MT_POSITION_Y) {
                y = {min, max};
            } else if (code == ABS_MT_SLOT) {
                slots = max + 1;
            }
        }
        return TouchFeed(slots, x, y, DisplaySize{});
    }
};

TEST_P(RecordingTest, GivesTheReportsOfTheImportedRecording)
{
    const std::string name = GetParam();
    const std::string dir = kRecordings + "/touchscreens/";
    const std::string device = name.substr(0, name.find('.'));
    TouchFeed feed = FeedFor(dir + device + ".desc");

    std::ifstream events(dir + name);
    ASSERT_TRUE(events) << dir + name;
    std::vector<TouchRecord> touches;
    for (std::string line; std::getline(events, line);) {
        std::istringstream fields(line);
        std::string tag;
        double time = 0;
        unsigned type = 0;
        unsigned code = 0;
        int32_t value = 0;
        if (fields >> tag >> time >> std::hex >> type >> code >> std::dec >> value && tag == "E:") {
            feed.Feed(static_cast<uint16_t>(type), static_cast<uint16_t>(code), value,
                      static_cast<int64_t>(time * 1e6), touches);
        }
    }
    ASSERT_THAT(touches, Not(IsEmpty()));

    const std::string trace = ::testing::TempDir() + "/live-" + name + ".trace";
    {
        std::ofstream out(trace);
        for (int type : {9, 10, 11, 12, 13}) {
            out << "enable " << type << "\n";
        }
        static const char* const kActions[] = {"down", "move", "up"};
        for (const TouchRecord& touch : touches) {
            std::string ids;
            for (int32_t id : touch.pointerIds) {
                ids += (ids.empty() ? "" : ",") + std::to_string(id);
            }
            out << "touch " << kActions[touch.action - 2] << " " << touch.pointerId << " "
                << touch.x << " " << touch.y << " " << (ids.empty() ? "-" : ids) << "\n";
        }
    }
    const Tarvo::Test::ChildResult replay =
        Tarvo::Test::ChildProcess::Run({QUIL_REPLAY_PATH, trace});
    ASSERT_EQ(replay.exitCode, 0) << replay.err;

    std::ifstream expectedFile(kRecordings + "/expected/touchscreens/" + name + ".expected");
    std::ostringstream expected;
    expected << expectedFile.rdbuf();
    EXPECT_EQ(replay.out, expected.str());
}

INSTANTIATE_TEST_SUITE_P(Touchscreens, RecordingTest,
                         ::testing::Values("EP0430M09.1-finger-drag-up-down.events",
                                           "EP0430M09.2-finger-scroll-down.events",
                                           "EP0430M09.2-fingers-touch-release.events",
                                           "EP0430M09.4-finger-drag-down.events",
                                           "Wacom-ISDv4-E6-Finger.double-center-scroll.events",
                                           "Wacom-ISDv4-E6-Finger.double-top-swipe.events",
                                           "Wacom-ISDv4-E6-Finger.single-top-swipe.events"),
                         [](const auto& info) {
                             std::string name = info.param;
                             for (char& c : name) {
                                 c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
                             }
                             return name;
                         });

}  // namespace
}  // namespace Tarvo::Linux
