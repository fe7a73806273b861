// The pure part of the live touch path: evdev events in, touch events in display
// pixels out, through the multi-touch decoder and the display mapping. The input
// service feeds it from the device; tests feed it recordings.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "display_mapper.h"
#include "input_manager.h"
#include "linux_platform.h"
#include "multi_touch_decoder.h"

namespace Tarvo::Linux {

class TouchFeed {
public:
    TouchFeed(int slots, Input::AxisRange x, Input::AxisRange y, DisplaySize display);

    // Appends the touches `event` completes. True when it announced lost events
    // (SYN_DROPPED); the state libevdev then resynchronises is fed in as usual.
    bool Feed(uint16_t type, uint16_t code, int32_t value, int64_t timeUs,
              std::vector<TouchRecord>& out);
    // Lifts every finger still down, for a device that went away.
    void ReleaseAll(int64_t timeUs, std::vector<TouchRecord>& out);

    // The event the input service hands to monitors: the acting pointer with its item.
    static std::shared_ptr<MMI::PointerEvent> ToPointerEvent(const TouchRecord& touch);

private:
    void Convert(const std::vector<Input::TouchEvent>& events, std::vector<TouchRecord>& out) const;

    Input::MultiTouchDecoder decoder_;
    Input::DisplayMapper mapper_;
    std::vector<Input::TouchEvent> pending_;
};

}  // namespace Tarvo::Linux
