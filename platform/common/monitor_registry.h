// An input service's pointer monitors and the ids it hands out for them. Not locked
// itself: the service calls it with its own lock held.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "input_manager.h"

namespace Tarvo::Platform {

class MonitorRegistry {
public:
    // The monitor's id, 1, 2, 3, ...; -1 for an empty monitor, which is not installed.
    // With a fixed id set, that id instead, and nothing installed when it is negative.
    int32_t Add(MMI::PointerMonitor monitor);
    // False when `id` is not installed: then no delivery can be inside its monitor.
    bool Remove(int32_t id);
    // Ids from now on: `id` every time (a test host's setting), or the next ones.
    void FixId(std::optional<int32_t> id) { fixedId_ = id; }
    // Copies of the monitors for one delivery, made without the lock.
    void CopyInto(std::vector<MMI::PointerMonitor>& monitors) const;
    size_t Count() const { return monitors_.size(); }
    bool Empty() const { return monitors_.empty(); }
    // No monitors, ids from 1 again, no fixed id.
    void Clear();

private:
    std::map<int32_t, MMI::PointerMonitor> monitors_;
    int32_t nextId_ = 1;
    std::optional<int32_t> fixedId_;
};

}  // namespace Tarvo::Platform
