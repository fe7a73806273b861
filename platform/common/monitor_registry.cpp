#include "monitor_registry.h"

namespace Tarvo::Platform {

int32_t MonitorRegistry::Add(MMI::PointerMonitor monitor)
{
    if (!monitor) {
        return -1;
    }
    const int32_t id = fixedId_.has_value() ? *fixedId_ : nextId_++;
    if (id >= 0) {  // a negative id says the monitor was not installed
        monitors_[id] = std::move(monitor);
    }
    return id;
}

bool MonitorRegistry::Remove(int32_t id)
{
    return monitors_.erase(id) != 0;
}

void MonitorRegistry::CopyInto(std::vector<MMI::PointerMonitor>& monitors) const
{
    monitors.clear();
    for (const auto& entry : monitors_) {
        monitors.push_back(entry.second);
    }
}

void MonitorRegistry::Clear()
{
    monitors_.clear();
    nextId_ = 1;
    fixedId_.reset();
}

}  // namespace Tarvo::Platform
