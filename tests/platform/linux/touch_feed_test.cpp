// The live touch path without a device: evdev events through the decoder and the
// display mapping into the events the library's monitors get. Real recordings take this
// path end to end in quil-live's tests, on emulated touchscreens.
#include "touch_feed.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/input.h>

#include <string>
#include <vector>

namespace Tarvo::Linux {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

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

}  // namespace
}  // namespace Tarvo::Linux
