#include "multi_touch_decoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Tarvo::Input::Test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uint16_t SYN = 0, KEY = 1, ABS = 3, MSC = 4;
constexpr uint16_t REPORT = 0, MT_REPORT = 2, DROPPED = 3;
constexpr uint16_t BTN_TOUCH = 0x14a, X = 0x00, Y = 0x01;
constexpr uint16_t SLOT = 0x2f, MT_X = 0x35, MT_Y = 0x36, TRACKING = 0x39, PRESSURE = 0x3a;

// Feeds events and keeps what comes out, frame by frame.
class Feeder {
public:
    explicit Feeder(int slots = MultiTouchDecoder::kDefaultSlots) : decoder(slots) {}

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
    void ContactA(int x, int y, int tracking = -2)
    {
        (*this)(ABS, MT_X, x);
        (*this)(ABS, MT_Y, y);
        if (tracking != -2) {
            (*this)(ABS, TRACKING, tracking);
        }
        (*this)(SYN, MT_REPORT, 0);
    }

    MultiTouchDecoder decoder;
    std::vector<TouchEvent> events;
    int64_t time = 0;
};

MATCHER_P4(Touch, action, id, x, y, "")
{
    return arg.action == action && arg.id == id && arg.x == x && arg.y == y;
}

constexpr TouchAction DOWN = TouchAction::DOWN, MOVE = TouchAction::MOVE, UP = TouchAction::UP;

TEST(MultiTouchDecoderTest, ProtocolBFingerGetsIdZeroWhateverItsTrackingIdAndANewIdIsANewFinger)
{
    Feeder feed;
    feed.Slot(3, 713, 100, 200);
    const auto down = feed.Frame(1000);
    ASSERT_THAT(down, ElementsAre(Touch(DOWN, 0, 100, 200)));
    EXPECT_THAT(down[0].ids, ElementsAre(0));
    EXPECT_EQ(down[0].timeUs, 1000);

    feed(ABS, MT_X, 110);
    EXPECT_THAT(feed.Frame(2000), ElementsAre(Touch(MOVE, 0, 110, 200)));
    // Pressure alone, and an empty frame, are no position change.
    feed(ABS, PRESSURE, 40);
    EXPECT_THAT(feed.Frame(3000), IsEmpty());
    EXPECT_THAT(feed.Frame(4000), IsEmpty());

    // A new tracking id in the slot is another finger.
    feed(ABS, TRACKING, 714);
    feed(ABS, MT_X, 500);
    EXPECT_THAT(feed.Frame(5000), ElementsAre(Touch(UP, 0, 110, 200), Touch(DOWN, 0, 500, 200)));

    feed(ABS, TRACKING, -1);
    const auto up = feed.Frame(6000);
    ASSERT_THAT(up, ElementsAre(Touch(UP, 0, 500, 200)));
    EXPECT_THAT(up[0].ids, ElementsAre(0));
    EXPECT_EQ(feed.decoder.FingersDown(), 0U);
}

TEST(MultiTouchDecoderTest, ProtocolBSeveralFingers)
{
    Feeder feed;
    feed.Slot(0, 50, 100, 100);
    feed.Frame(0);
    feed.Slot(1, 51, 300, 100);
    const auto second = feed.Frame(1);
    ASSERT_THAT(second, ElementsAre(Touch(DOWN, 1, 300, 100)));
    EXPECT_THAT(second[0].ids, ElementsAre(0, 1));

    // Both move in one frame: one move each, both listing both fingers.
    feed(ABS, SLOT, 0);
    feed(ABS, MT_Y, 150);
    feed(ABS, SLOT, 1);
    feed(ABS, MT_Y, 160);
    const auto moves = feed.Frame(2);
    ASSERT_THAT(moves, ElementsAre(Touch(MOVE, 0, 100, 150), Touch(MOVE, 1, 300, 160)));
    EXPECT_THAT(moves[1].ids, ElementsAre(0, 1));

    // The first finger lifts while the second moves: the up comes first, listing itself.
    feed(ABS, SLOT, 0);
    feed(ABS, TRACKING, -1);
    feed(ABS, SLOT, 1);
    feed(ABS, MT_X, 310);
    const auto liftAndMove = feed.Frame(3);
    ASSERT_THAT(liftAndMove, ElementsAre(Touch(UP, 0, 100, 150), Touch(MOVE, 1, 310, 160)));
    EXPECT_THAT(liftAndMove[0].ids, ElementsAre(0, 1));
    EXPECT_THAT(liftAndMove[1].ids, ElementsAre(1));

    // A new finger takes the lowest free id, 0, and keeps its last slot values.
    feed(ABS, SLOT, 0);
    feed(ABS, TRACKING, 52);
    const auto again = feed.Frame(4);
    ASSERT_THAT(again, ElementsAre(Touch(DOWN, 0, 100, 150)));
    EXPECT_THAT(again[0].ids, ElementsAre(0, 1));
}

TEST(MultiTouchDecoderTest, ProtocolBSlotWithoutPositionWaitsForOne)
{
    Feeder feed;
    feed(ABS, TRACKING, 4);
    feed(ABS, MT_X, 10);
    EXPECT_THAT(feed.Frame(0), IsEmpty());
    feed(ABS, MT_Y, 20);
    EXPECT_THAT(feed.Frame(1), ElementsAre(Touch(DOWN, 0, 10, 20)));
}

TEST(MultiTouchDecoderTest, ProtocolAWithTrackingIds)
{
    Feeder feed;
    feed.ContactA(100, 100, 7);
    feed.Frame(0);
    feed.ContactA(101, 100, 7);
    feed.ContactA(400, 400, 8);
    const auto frame = feed.Frame(1);
    ASSERT_THAT(frame, ElementsAre(Touch(MOVE, 0, 101, 100), Touch(DOWN, 1, 400, 400)));
    EXPECT_THAT(frame[0].ids, ElementsAre(0));
    EXPECT_THAT(frame[1].ids, ElementsAre(0, 1));

    // Only the second stays; then an empty report lifts everything.
    feed.ContactA(400, 410, 8);
    EXPECT_THAT(feed.Frame(2), ElementsAre(Touch(UP, 0, 101, 100), Touch(MOVE, 1, 400, 410)));
    feed(SYN, MT_REPORT, 0);
    EXPECT_THAT(feed.Frame(3), ElementsAre(Touch(UP, 1, 400, 410)));
}

TEST(MultiTouchDecoderTest, ProtocolAWithoutTrackingIdsFollowsTheNearestContact)
{
    Feeder feed;
    feed.ContactA(100, 100);
    feed.ContactA(900, 900);
    feed.Frame(0);
    // Listed in the other order and the first one gone: the one left is still finger 1.
    feed.ContactA(905, 890);
    EXPECT_THAT(feed.Frame(1), ElementsAre(Touch(UP, 0, 100, 100), Touch(MOVE, 1, 905, 890)));
    // A report with no contact at all ends the last finger.
    EXPECT_THAT(feed.Frame(2), ElementsAre(Touch(UP, 1, 905, 890)));
}

TEST(MultiTouchDecoderTest, ProtocolAFrameAboutSomethingElseKeepsTheFingers)
{
    Feeder feed;
    feed.ContactA(100, 100, 0);
    feed.Frame(0);
    feed(MSC, 5, 1234);
    EXPECT_THAT(feed.Frame(1), IsEmpty());
    EXPECT_EQ(feed.decoder.FingersDown(), 1U);
    feed(KEY, BTN_TOUCH, 0);
    EXPECT_THAT(feed.Frame(2), ElementsAre(Touch(UP, 0, 100, 100)));
}

TEST(MultiTouchDecoderTest, ProtocolATooManyContactsAreCapped)
{
    Feeder feed;
    for (int i = 0; i < MultiTouchDecoder::kMaxContacts + 10; ++i) {
        feed.ContactA(i * 10, 0, i);
    }
    EXPECT_EQ(feed.Frame(0).size(), static_cast<size_t>(MultiTouchDecoder::kMaxContacts));
}

TEST(MultiTouchDecoderTest, SingleTouchScreen)
{
    Feeder feed;
    feed(KEY, BTN_TOUCH, 1);
    feed(ABS, X, 30);
    feed(ABS, Y, 40);
    EXPECT_THAT(feed.Frame(0), ElementsAre(Touch(DOWN, 0, 30, 40)));
    feed(ABS, Y, 45);
    EXPECT_THAT(feed.Frame(1), ElementsAre(Touch(MOVE, 0, 30, 45)));
    feed(KEY, BTN_TOUCH, 0);
    EXPECT_THAT(feed.Frame(2), ElementsAre(Touch(UP, 0, 30, 45)));
}

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

TEST(MultiTouchDecoderTest, ProtocolADroppedPartialFrameIsIgnored)
{
    Feeder feed;
    feed.ContactA(100, 100, 0);
    feed.ContactA(500, 500, 1);
    feed.Frame(0);
    feed(SYN, DROPPED, 0);
    feed.ContactA(120, 100, 0);  // the second contact of this frame was lost
    EXPECT_THAT(feed.Frame(1), IsEmpty());
    feed.ContactA(130, 100, 0);
    feed.ContactA(500, 520, 1);
    EXPECT_THAT(feed.Frame(2), ElementsAre(Touch(MOVE, 0, 130, 100), Touch(MOVE, 1, 500, 520)));
}

TEST(MultiTouchDecoderTest, HostileSlotsAndCodesAreHarmless)
{
    Feeder feed(2);
    feed.Slot(2, 9, 1, 1);  // past the slot count
    feed.Slot(-5, 9, 1, 1);
    feed(ABS, 0x3f, 7);      // not a touch axis
    feed(0x1f, 0xffff, -1);  // not an event type we know
    EXPECT_THAT(feed.Frame(0), IsEmpty());
    feed.Slot(1, 9, 1, 1);
    EXPECT_THAT(feed.Frame(1), ElementsAre(Touch(DOWN, 0, 1, 1)));
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
