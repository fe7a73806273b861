// Turns raw evdev events of a multi-touch screen into finger-level down, move and up
// events. Pure: it is fed (type, code, value, time) and knows nothing of files or
// devices, so a file reader and a live device feed it alike.
//
// Understands multi-touch protocol B (slots, tracking ids), protocol A (contacts closed
// by SYN_MT_REPORT, with or without tracking ids) and single-touch screens (ABS_X,
// ABS_Y, BTN_TOUCH) that send no multi-touch axes at all.
//
// Per frame (closed by SYN_REPORT) it emits, in this order: an up for every finger that
// left, one move per finger whose position changed, a down for every finger that
// arrived. Frames without a position change, pressure-only and other key events give
// nothing. Every event carries the ids of all fingers down at that moment.
//
// SYN_DROPPED: the events after it up to the next SYN_REPORT are incomplete and are not
// reported as a frame. With protocol B the slot changes in them are still kept, and that
// SYN_REPORT reports the difference to what was reported last, so a caller may feed the
// state a resynchronisation produces (as libevdev delivers it) straight in. With
// protocol A the partial frame is dropped and the next full frame reports the difference.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "touch_event.h"

namespace Tarvo::Input {

// What one fed event did, so a caller can tell the user about lost events.
enum class FeedResult {
    CONSUMED,       // buffered or ignored
    FRAME,          // a SYN_REPORT closed a frame (it may have produced no events)
    DROPPED,        // SYN_DROPPED: events were lost by the device's queue
    RESYNCHRONISED  // the SYN_REPORT that ends a dropped stretch
};

class MultiTouchDecoder {
public:
    static constexpr int kDefaultSlots = 16;
    static constexpr int kMaxSlots = 64;
    // Contacts per protocol A frame beyond this are ignored.
    static constexpr int kMaxContacts = 32;

    // `slots`: the number of protocol B slots (ABS_MT_SLOT maximum + 1); clamped to
    // 1..kMaxSlots. Slot numbers outside it are ignored with their events.
    explicit MultiTouchDecoder(int slots = kDefaultSlots);

    // Feeds one evdev event; appends the finger events it completes to `out`.
    FeedResult Feed(uint16_t type, uint16_t code, int32_t value, int64_t timeUs,
                    std::vector<TouchEvent>& out);

    // Appends an up for every finger down (for a device that goes away) and forgets all
    // state, as if newly constructed with the same slot count.
    void ReleaseAll(int64_t timeUs, std::vector<TouchEvent>& out);

    // Number of fingers currently reported down.
    size_t FingersDown() const { return fingers_.size(); }
    // Stretches of events lost to SYN_DROPPED so far.
    uint64_t DroppedStretches() const { return droppedStretches_; }

private:
    struct Slot {
        int32_t trackingId = -1;
        int32_t x = 0;
        int32_t y = 0;
        bool hasX = false;
        bool hasY = false;
    };
    // A contact present in a frame: `key` identifies it across frames.
    struct Contact {
        int64_t key = 0;
        int32_t x = 0;
        int32_t y = 0;
    };
    // A finger as reported to the caller.
    struct Finger {
        int64_t key = 0;
        int32_t id = 0;
        int32_t x = 0;
        int32_t y = 0;
    };

    void FeedAbs(uint16_t code, int32_t value);
    FeedResult FeedSyn(uint16_t code, int64_t timeUs, std::vector<TouchEvent>& out);
    void CloseContactA();
    void CurrentContacts(std::vector<Contact>& contacts);
    void MatchContactsA(std::vector<Contact>& contacts);
    void Commit(const std::vector<Contact>& contacts, int64_t timeUs, std::vector<TouchEvent>& out);
    std::vector<int32_t> Ids() const;
    int32_t LowestFreeId() const;
    void ResetFrame();

    std::vector<Slot> slots_;
    int currentSlot_ = 0;
    bool sawMultiTouch_ = false;  // single-touch axes are ignored once multi-touch appears
    bool protocolA_ = false;      // a SYN_MT_REPORT has been seen

    // Single-touch state.
    Slot single_;
    bool singleTouching_ = false;

    // Protocol A frame being collected.
    std::vector<Slot> pendingA_;
    Slot contactA_;
    bool frameTouchesA_ = false;  // the frame carried touch data or an explicit lift
    bool frameOther_ = false;     // the frame carried events that are not about touch
    std::vector<Contact> lastA_;  // protocol A contacts of the last frame, for matching
    int64_t nextKeyA_ = 1;

    bool dropping_ = false;
    uint64_t droppedStretches_ = 0;
    std::vector<Finger> fingers_;  // ascending by id
};

}  // namespace Tarvo::Input
