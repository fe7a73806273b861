#include "touch_feed.h"

namespace Tarvo::Linux {

TouchFeed::TouchFeed(int slots, Input::AxisRange x, Input::AxisRange y, DisplaySize display)
    : decoder_(slots), mapper_(x, y, display.width, display.height)
{
}

bool TouchFeed::Feed(uint16_t type, uint16_t code, int32_t value, int64_t timeUs,
                     std::vector<TouchRecord>& out)
{
    pending_.clear();
    const Input::FeedResult result = decoder_.Feed(type, code, value, timeUs, pending_);
    Convert(pending_, out);
    return result == Input::FeedResult::DROPPED;
}

void TouchFeed::ReleaseAll(int64_t timeUs, std::vector<TouchRecord>& out)
{
    pending_.clear();
    decoder_.ReleaseAll(timeUs, pending_);
    Convert(pending_, out);
}

void TouchFeed::Convert(const std::vector<Input::TouchEvent>& events,
                        std::vector<TouchRecord>& out) const
{
    for (const Input::TouchEvent& touch : events) {
        TouchRecord record;
        record.action = static_cast<int32_t>(touch.action);
        record.pointerId = touch.id;
        mapper_.Map(touch.x, touch.y, record.x, record.y);
        record.pointerIds = touch.ids;
        record.timestampNs = touch.timeUs * 1000;
        out.push_back(std::move(record));
    }
}

std::shared_ptr<MMI::PointerEvent> TouchFeed::ToPointerEvent(const TouchRecord& touch)
{
    auto event = std::make_shared<MMI::PointerEvent>();
    event->SetPointerAction(touch.action);
    event->SetPointerId(touch.pointerId);
    event->SetPointerIds(touch.pointerIds);
    MMI::PointerEvent::PointerItem item;
    item.SetPointerId(touch.pointerId);
    item.SetDisplayX(touch.x);
    item.SetDisplayY(touch.y);
    event->AddPointerItem(item);
    return event;
}

}  // namespace Tarvo::Linux
