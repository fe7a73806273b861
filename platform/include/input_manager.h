// Client interface of the platform input service: pointer events and input monitors.
//
// A device build takes these declarations from the platform's input client library;
// other builds link a platform layer that serves them: the stand-in in platform/host,
// or platform/linux on a Linux device (the forwarding is platform/common's).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace MMI {

// One touch event as the input service delivers it: the acting pointer, the action,
// and an item (position) for every pointer on the screen.
class PointerEvent {
public:
    static constexpr int32_t POINTER_ACTION_DOWN = 2;
    static constexpr int32_t POINTER_ACTION_MOVE = 3;
    static constexpr int32_t POINTER_ACTION_UP = 4;

    class PointerItem {
    public:
        int32_t GetPointerId() const { return pointerId_; }
        void SetPointerId(int32_t pointerId) { pointerId_ = pointerId; }
        int32_t GetDisplayX() const { return displayX_; }
        void SetDisplayX(int32_t x) { displayX_ = x; }
        int32_t GetDisplayY() const { return displayY_; }
        void SetDisplayY(int32_t y) { displayY_ = y; }

    private:
        int32_t pointerId_ = 0;
        int32_t displayX_ = 0;
        int32_t displayY_ = 0;
    };

    int32_t GetPointerId() const { return pointerId_; }
    void SetPointerId(int32_t pointerId) { pointerId_ = pointerId; }
    int32_t GetPointerAction() const { return pointerAction_; }
    void SetPointerAction(int32_t action) { pointerAction_ = action; }

    // Ids of all pointers on the screen, in the service's order. A reference, so that a
    // monitor can copy the list into storage it reuses without a heap copy per event; a
    // client that returns the list by value compiles against the same monitor code.
    const std::vector<int32_t>& GetPointerIds() const { return pointerIds_; }
    void SetPointerIds(std::vector<int32_t> ids) { pointerIds_ = std::move(ids); }

    // The item of `pointerId`; false when the event carries none for it.
    bool GetPointerItem(int32_t pointerId, PointerItem& item) const
    {
        for (const auto& candidate : items_) {
            if (candidate.GetPointerId() == pointerId) {
                item = candidate;
                return true;
            }
        }
        return false;
    }
    void AddPointerItem(const PointerItem& item) { items_.push_back(item); }

private:
    int32_t pointerId_ = 0;
    int32_t pointerAction_ = 0;
    std::vector<int32_t> pointerIds_;
    std::vector<PointerItem> items_;
};

using PointerMonitor = std::function<void(std::shared_ptr<PointerEvent>)>;

class InputManager {
public:
    static InputManager* GetInstance();

    // Installs `monitor`, called on the service's delivery thread for every pointer
    // event. Returns the monitor's id; the service reports failures as negative ids.
    int32_t AddMonitor(PointerMonitor monitor);
    // Removes the monitor `monitorId`; an id that is not installed is ignored.
    void RemoveMonitor(int32_t monitorId);

private:
    InputManager() = default;
};

}  // namespace MMI
