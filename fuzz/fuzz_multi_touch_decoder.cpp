// Any event stream into the multi-touch decoder: never crashes, and what comes out is
// always consistent (ids unique and ascending, the acting finger listed, ups only for
// fingers that are down).
#include <algorithm>
#include <cstdint>
#include <set>
#include <vector>

#include "multi_touch_decoder.h"

namespace {

// Mostly the event types and codes touch screens send, so inputs reach deep states.
constexpr uint16_t kTypes[] = {0, 0, 1, 3, 3, 3, 4};
constexpr uint16_t kCodes[] = {0, 2, 3, 0, 1, 0x2f, 0x35, 0x36, 0x39, 0x3a, 0x14a, 5};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using Tarvo::Input::MultiTouchDecoder;
    using Tarvo::Input::TouchAction;
    using Tarvo::Input::TouchEvent;
    MultiTouchDecoder decoder(size > 0 ? data[0] % 8 : 4);
    std::set<int32_t> down;
    std::vector<TouchEvent> out;
    int64_t time = 0;
    for (size_t i = 1; i + 4 <= size; i += 4) {
        const uint16_t type = kTypes[data[i] % (sizeof kTypes / sizeof kTypes[0])];
        const uint16_t code = kCodes[data[i + 1] % (sizeof kCodes / sizeof kCodes[0])];
        // Small values mostly, with the extremes reachable.
        const int32_t value = data[i + 2] == 0xff   ? INT32_MIN
                              : data[i + 2] == 0xfe ? INT32_MAX
                                                    : static_cast<int32_t>(data[i + 3]) - 8;
        out.clear();
        decoder.Feed(type, code, value, time += data[i + 2], out);
        if (data[i] == 0xff) {
            decoder.ReleaseAll(time, out);
        }
        for (const TouchEvent& event : out) {
            if (!std::is_sorted(event.ids.begin(), event.ids.end()) ||
                std::adjacent_find(event.ids.begin(), event.ids.end()) != event.ids.end() ||
                std::find(event.ids.begin(), event.ids.end(), event.id) == event.ids.end()) {
                __builtin_trap();
            }
            const bool known = down.count(event.id) != 0;
            if ((event.action == TouchAction::DOWN) == known) {
                __builtin_trap();  // a down for a finger already down, or a move/up for none
            }
            if (event.action == TouchAction::DOWN) {
                down.insert(event.id);
            } else if (event.action == TouchAction::UP) {
                down.erase(event.id);
            }
        }
        if (down.size() != decoder.FingersDown()) {
            __builtin_trap();
        }
    }
    return 0;
}
