// What the importer cannot show of the decoder: what Feed returns around lost events,
// and lifting every finger when a device goes away. The rest is in the import cases.
#include "multi_touch_decoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarvo::Input::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint16_t SYN = 0, ABS = 3;
constexpr uint16_t REPORT = 0, DROPPED = 3;
constexpr uint16_t SLOT = 0x2f, MT_X = 0x35, MT_Y = 0x36, TRACKING = 0x39;

// Feeds events and keeps what comes out, frame by frame.
class Feeder {
public:
    FeedResult operator()(uint16_t type, uint16_t code, int32_t value)
    {
        return decoder.Feed(type, code, value, time, events);
    }
    // Closes the frame and returns only the events it produced.
    std::vector<TouchEvent> Frame(int64_t at)
    {
        time = at;
        events.clear();
        (*this)(SYN, REPORT, 0);
        return events;
    }
    void Slot(int slot, int tracking, int x, int y)
    {
        (*this)(ABS, SLOT, slot);
        (*this)(ABS, TRACKING, tracking);
        (*this)(ABS, MT_X, x);
        (*this)(ABS, MT_Y, y);
    }

    MultiTouchDecoder decoder;
    std::vector<TouchEvent> events;
    int64_t time = 0;
};

MATCHER_P4(Touch, action, id, x, y, "")
{
    return arg.action == action && arg.id == id && arg.x == x && arg.y == y;
}

constexpr TouchAction MOVE = TouchAction::MOVE, UP = TouchAction::UP;

TEST(MultiTouchDecoderTest, ProtocolBDroppedEventsAreCaughtUpAtTheNextReport)
{
    Feeder feed;
    feed.Slot(0, 1, 10, 10);
    feed.Slot(1, 2, 50, 50);
    feed.Frame(0);
    EXPECT_EQ(feed(SYN, DROPPED, 0), FeedResult::DROPPED);
    EXPECT_EQ(feed(SYN, DROPPED, 0), FeedResult::DROPPED);
    // What a resynchronisation delivers: finger 0 is gone, finger 1 has moved.
    feed(ABS, SLOT, 0);
    feed(ABS, TRACKING, -1);
    feed(ABS, SLOT, 1);
    feed(ABS, MT_X, 60);
    feed.events.clear();
    EXPECT_EQ(feed(SYN, REPORT, 0), FeedResult::RESYNCHRONISED);
    EXPECT_THAT(feed.events, ElementsAre(Touch(UP, 0, 10, 10), Touch(MOVE, 1, 60, 50)));
    EXPECT_EQ(feed.decoder.DroppedStretches(), 1U);
    feed.events.clear();
    EXPECT_EQ(feed(SYN, REPORT, 0), FeedResult::FRAME);
}

TEST(MultiTouchDecoderTest, ReleaseAllLiftsEveryFingerAndStartsAfresh)
{
    Feeder feed;
    feed.Slot(0, 1, 10, 10);
    feed.Slot(1, 2, 20, 20);
    feed.Frame(0);
    std::vector<TouchEvent> out;
    feed.decoder.ReleaseAll(99, out);
    ASSERT_THAT(out, ElementsAre(Touch(UP, 0, 10, 10), Touch(UP, 1, 20, 20)));
    EXPECT_THAT(out[0].ids, ElementsAre(0, 1));
    EXPECT_THAT(out[1].ids, ElementsAre(1));
    EXPECT_EQ(out[1].timeUs, 99);
    EXPECT_THAT(feed.Frame(1), IsEmpty());  // the old slots are forgotten
}

}  // namespace
}  // namespace Tarvo::Input::Test
