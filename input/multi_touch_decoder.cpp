#include "multi_touch_decoder.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace Tarvo::Input {
namespace {

// Protocol A contacts without a tracking id get keys from here up, clear of any
// 32-bit tracking id.
constexpr int64_t kUntrackedKeyBase = int64_t{1} << 40;

int64_t SlotKey(int slot, int32_t trackingId)
{
    return (static_cast<int64_t>(slot) << 32) | static_cast<uint32_t>(trackingId);
}

// Unsigned and saturating: coordinates anywhere in the int32 range square past int64.
uint64_t SquaredDistance(int32_t x0, int32_t y0, int32_t x1, int32_t y1)
{
    const int64_t dx = int64_t{x0} - x1;
    const int64_t dy = int64_t{y0} - y1;
    const uint64_t ux = static_cast<uint64_t>(dx < 0 ? -dx : dx);
    const uint64_t uy = static_cast<uint64_t>(dy < 0 ? -dy : dy);
    const uint64_t xx = ux * ux;
    const uint64_t yy = uy * uy;
    return xx > std::numeric_limits<uint64_t>::max() - yy ? std::numeric_limits<uint64_t>::max()
                                                          : xx + yy;
}

}  // namespace

MultiTouchDecoder::MultiTouchDecoder(int slots)
    : slots_(static_cast<size_t>(std::clamp(slots, 1, kMaxSlots)))
{
}

FeedResult MultiTouchDecoder::Feed(uint16_t type, uint16_t code, int32_t value, int64_t timeUs,
                                   std::vector<TouchEvent>& out)
{
    switch (type) {
        case EV_SYN:
            return FeedSyn(code, timeUs, out);
        case EV_ABS:
            FeedAbs(code, value);
            break;
        case EV_KEY:
            if (code == BTN_TOUCH) {
                singleTouching_ = value != 0;
                frameTouchesA_ = true;
            } else {
                frameOther_ = true;
            }
            break;
        default:
            frameOther_ = true;
            break;
    }
    return FeedResult::CONSUMED;
}

void MultiTouchDecoder::FeedAbs(uint16_t code, int32_t value)
{
    if (code == ABS_X || code == ABS_Y) {
        (code == ABS_X ? single_.x : single_.y) = value;
        (code == ABS_X ? single_.hasX : single_.hasY) = true;
        frameTouchesA_ = true;
        return;
    }
    if (code < ABS_MT_SLOT || code > ABS_MT_TOOL_Y) {
        frameOther_ = true;
        return;
    }
    sawMultiTouch_ = true;
    frameTouchesA_ = true;
    if (code == ABS_MT_SLOT) {
        currentSlot_ = value;
        return;
    }
    Slot* slot = currentSlot_ >= 0 && currentSlot_ < static_cast<int>(slots_.size())
                     ? &slots_[static_cast<size_t>(currentSlot_)]
                     : nullptr;
    // The same axes feed the protocol B slot and the protocol A contact; which one
    // counts is decided when the frame closes.
    switch (code) {
        case ABS_MT_TRACKING_ID:
            if (slot != nullptr) {
                slot->trackingId = value < 0 ? -1 : value;
            }
            contactA_.trackingId = value < 0 ? -1 : value;
            break;
        case ABS_MT_POSITION_X:
            if (slot != nullptr) {
                slot->x = value;
                slot->hasX = true;
            }
            contactA_.x = value;
            contactA_.hasX = true;
            break;
        case ABS_MT_POSITION_Y:
            if (slot != nullptr) {
                slot->y = value;
                slot->hasY = true;
            }
            contactA_.y = value;
            contactA_.hasY = true;
            break;
        default:
            break;  // pressure, size, orientation: not a position change
    }
}

FeedResult MultiTouchDecoder::FeedSyn(uint16_t code, int64_t timeUs, std::vector<TouchEvent>& out)
{
    if (code == SYN_MT_REPORT) {
        protocolA_ = true;
        sawMultiTouch_ = true;
        CloseContactA();
        return FeedResult::CONSUMED;
    }
    if (code == SYN_DROPPED) {
        if (!dropping_) {
            ++droppedStretches_;
        }
        dropping_ = true;
        pendingA_.clear();
        contactA_ = Slot{};
        return FeedResult::DROPPED;
    }
    if (code != SYN_REPORT) {
        return FeedResult::CONSUMED;
    }

    const bool resync = dropping_;
    dropping_ = false;
    if (resync && protocolA_) {
        ResetFrame();  // a partial list of contacts: wait for a full one
        return FeedResult::RESYNCHRONISED;
    }
    // A protocol A frame with neither contacts nor a lift is about something else
    // (a key, a timestamp) and leaves the fingers as they are.
    const bool unrelatedA = protocolA_ && pendingA_.empty() && !frameTouchesA_ && frameOther_;
    if (!unrelatedA) {
        std::vector<Contact> contacts;
        CurrentContacts(contacts);
        Commit(contacts, timeUs, out);
    }
    ResetFrame();
    return resync ? FeedResult::RESYNCHRONISED : FeedResult::FRAME;
}

void MultiTouchDecoder::CloseContactA()
{
    if (contactA_.hasX && contactA_.hasY && pendingA_.size() < static_cast<size_t>(kMaxContacts)) {
        pendingA_.push_back(contactA_);
    }
    contactA_ = Slot{};
    frameTouchesA_ = true;
}

void MultiTouchDecoder::CurrentContacts(std::vector<Contact>& contacts)
{
    if (protocolA_) {
        MatchContactsA(contacts);
        return;
    }
    if (sawMultiTouch_) {
        for (size_t i = 0; i < slots_.size(); ++i) {
            const Slot& slot = slots_[i];
            if (slot.trackingId >= 0 && slot.hasX && slot.hasY) {
                contacts.push_back({SlotKey(static_cast<int>(i), slot.trackingId), slot.x, slot.y});
            }
        }
        return;
    }
    if (singleTouching_ && single_.hasX && single_.hasY) {
        contacts.push_back({0, single_.x, single_.y});
    }
}

void MultiTouchDecoder::MatchContactsA(std::vector<Contact>& contacts)
{
    std::vector<bool> matched(pendingA_.size(), false);
    std::vector<bool> used(lastA_.size(), false);
    contacts.assign(pendingA_.size(), Contact{});
    for (size_t i = 0; i < pendingA_.size(); ++i) {
        contacts[i].x = pendingA_[i].x;
        contacts[i].y = pendingA_[i].y;
        if (pendingA_[i].trackingId < 0) {
            continue;
        }
        const int64_t key = pendingA_[i].trackingId;
        // A tracking id repeated in one frame is a device fault: the later contacts
        // are matched by position instead.
        const bool repeated =
            std::any_of(pendingA_.begin(), pendingA_.begin() + static_cast<std::ptrdiff_t>(i),
                        [&](const Slot& c) { return c.trackingId == pendingA_[i].trackingId; });
        if (repeated) {
            continue;
        }
        contacts[i].key = key;
        matched[i] = true;
        for (size_t j = 0; j < lastA_.size(); ++j) {
            used[j] = used[j] || lastA_[j].key == key;
        }
    }
    // Contacts without a tracking id continue the nearest contact of the last frame.
    std::vector<std::pair<uint64_t, std::pair<size_t, size_t>>> pairs;
    for (size_t i = 0; i < pendingA_.size(); ++i) {
        for (size_t j = 0; j < lastA_.size(); ++j) {
            if (!matched[i] && !used[j]) {
                pairs.push_back(
                    {SquaredDistance(contacts[i].x, contacts[i].y, lastA_[j].x, lastA_[j].y),
                     {i, j}});
            }
        }
    }
    std::sort(pairs.begin(), pairs.end());
    for (const auto& [distance, ij] : pairs) {
        (void)distance;
        if (!matched[ij.first] && !used[ij.second]) {
            contacts[ij.first].key = lastA_[ij.second].key;
            matched[ij.first] = true;
            used[ij.second] = true;
        }
    }
    for (size_t i = 0; i < contacts.size(); ++i) {
        if (!matched[i]) {
            contacts[i].key = kUntrackedKeyBase + nextKeyA_++;
        }
    }
    lastA_ = contacts;
}

void MultiTouchDecoder::Commit(const std::vector<Contact>& contacts, int64_t timeUs,
                               std::vector<TouchEvent>& out)
{
    auto findContact = [&contacts](int64_t key) {
        return std::find_if(contacts.begin(), contacts.end(),
                            [key](const Contact& c) { return c.key == key; });
    };
    auto emit = [this, timeUs, &out](TouchAction action, const Finger& finger) {
        out.push_back({action, finger.id, finger.x, finger.y, Ids(), timeUs});
    };

    // Ups first, each still listing the finger it lifts; the input service does the same.
    for (size_t i = 0; i < fingers_.size();) {
        if (findContact(fingers_[i].key) == contacts.end()) {
            emit(TouchAction::UP, fingers_[i]);
            fingers_.erase(fingers_.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
    // Update every position before the first move, so all moves carry the same frame.
    std::vector<size_t> moved;
    for (size_t i = 0; i < fingers_.size(); ++i) {
        const auto contact = findContact(fingers_[i].key);
        if (contact->x != fingers_[i].x || contact->y != fingers_[i].y) {
            fingers_[i].x = contact->x;
            fingers_[i].y = contact->y;
            moved.push_back(i);
        }
    }
    for (size_t i : moved) {
        emit(TouchAction::MOVE, fingers_[i]);
    }
    for (const Contact& contact : contacts) {
        const bool known =
            std::any_of(fingers_.begin(), fingers_.end(),
                        [&contact](const Finger& f) { return f.key == contact.key; });
        if (known) {
            continue;
        }
        const Finger finger{contact.key, LowestFreeId(), contact.x, contact.y};
        const auto at = std::find_if(fingers_.begin(), fingers_.end(),
                                     [&finger](const Finger& f) { return f.id > finger.id; });
        emit(TouchAction::DOWN, *fingers_.insert(at, finger));
    }
}

std::vector<int32_t> MultiTouchDecoder::Ids() const
{
    std::vector<int32_t> ids;
    ids.reserve(fingers_.size());
    for (const Finger& finger : fingers_) {
        ids.push_back(finger.id);
    }
    return ids;
}

int32_t MultiTouchDecoder::LowestFreeId() const
{
    // fingers_ is ascending by id, so the first gap is the lowest free id.
    int32_t id = 0;
    for (const Finger& finger : fingers_) {
        if (finger.id != id) {
            break;
        }
        ++id;
    }
    return id;
}

void MultiTouchDecoder::ResetFrame()
{
    pendingA_.clear();
    contactA_ = Slot{};
    frameTouchesA_ = false;
    frameOther_ = false;
}

void MultiTouchDecoder::ReleaseAll(int64_t timeUs, std::vector<TouchEvent>& out)
{
    while (!fingers_.empty()) {
        out.push_back({TouchAction::UP, fingers_.front().id, fingers_.front().x, fingers_.front().y,
                       Ids(), timeUs});
        fingers_.erase(fingers_.begin());
    }
    const int slots = static_cast<int>(slots_.size());
    *this = MultiTouchDecoder(slots);
}

}  // namespace Tarvo::Input
